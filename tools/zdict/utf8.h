// Texts for people and files.

#ifndef ZDICT_UTF8_H
#define ZDICT_UTF8_H

#include <string>

#include <hollin/ZString.h>

// Half a pair of surrogates becomes U+FFFD.
std::string ToUTF8(const hollin::ZString& text);

#endif
