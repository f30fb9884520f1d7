// XML documents as they come from outside.

#ifndef ZDICT_EXCHANGE_XML_TEXT_H
#define ZDICT_EXCHANGE_XML_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "exchange/catalogue.h"
#include "files.h"

// A parsed document. The nodes are parts of the text, so that it stays where it is.
class XMLText
{
public:
    // Parses XML in UTF-8, UTF-16 or ISO 8859-1. Nothing is fetched: a document type, and so each
    // entity of its own, is refused.
    //
    // Throws: Failure, with the place of the fault.
    explicit XMLText(InputFile file);
    XMLText(const XMLText&) = delete;
    XMLText& operator=(const XMLText&) = delete;

    pugi::xml_node Root() const { return mDocument.document_element(); }

    // The column counts bytes.
    Place PlaceOf(pugi::xml_node node) const;

private:
    Place PlaceOf(std::size_t offset) const;
    void Decode(const InputFile& file);
    void FindLines();
    void RequireSimple() const;
    void RequireWellFormed() const;
    [[noreturn]] void Fail(pugi::xml_node node, const std::string& what) const;
    [[noreturn]] void Fail(std::size_t offset, const std::string& what) const;

    const std::string mFile;
    std::string mText;
    std::vector<std::size_t> mLines = {0}; // the offsets of the starts
    pugi::xml_document mDocument;
};

// Returns whether XML can hold a character, at the start of UTF-8 text, and stores its length.
bool IsXMLCharacter(const char* text, std::size_t size, std::size_t* length);

// Returns the name of an element without the prefix of its namespace.
std::string LocalName(pugi::xml_node node);

#endif
