// Text as a part of XML and HTML.

#ifndef ZDICT_XML_ESCAPE_H
#define ZDICT_XML_ESCAPE_H

#include <string>
#include <string_view>

// The characters that are markup in the content and in the attributes of an element.
const char kMarkup[] = "&<>\"";

// Appends text with an entity for each byte that is in `special`.
//
// REQUIRES: `special` is ASCII.
void AppendEscaped(std::string_view text, const char* special, std::string* xml);

#endif
