// ASCII as UTF-8.

#ifndef TEXT_ASCII_H
#define TEXT_ASCII_H

#include <string_view>

#include "U_Types.h"

inline U_UTF8String UTF8Of(std::string_view ascii)
{
    return U_UTF8String(ascii.begin(), ascii.end());
}

#endif
