// XML documents as they come from outside.

#ifndef ZDICT_EXCHANGE_XML_READER_H
#define ZDICT_EXCHANGE_XML_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "exchange/catalogue.h"
#include "files.h"

// Reads a document from tag to tag. A tree is made of one element at a time, since the tree of a
// document takes five times the memory of its text.
//
//     XMLReader reader(file);
//     for (XMLReader::Step step; (step = reader.Next()) != XMLReader::kEnd;)
//         if (step == XMLReader::kOpened && reader.Name() == "unit")
//             Use(reader.Content());
//
// Throws: Failure, from each function, with the place of the fault.
class XMLReader
{
public:
    enum Step
    {
        kOpened, // the start tag of an element
        kClosed, // the end of an element that was not read whole
        kEnd     // the end of the document
    };

    // Reads XML in UTF-8, UTF-16 or ISO 8859-1. Nothing is fetched: a document type, and so each
    // entity of its own, is refused.
    //
    // REQUIRES: the file outlives the reader.
    explicit XMLReader(const InputFile& file);
    XMLReader(const XMLReader&) = delete;
    XMLReader& operator=(const XMLReader&) = delete;

    Step Next();

    std::size_t Depth() const { return mOpen.size(); } // 1 for the root

    // The opened element: its name, the element with its attributes alone, and the whole element,
    // whose end Next then passes over. A node is valid until the next call.
    std::string_view Name() const { return mTag.mName; }
    pugi::xml_node Tag();
    pugi::xml_node Content();

    // Returns the place of a valid node. The column counts bytes.
    Place PlaceOf(pugi::xml_node node) const;

private:
    struct TagText
    {
        std::size_t mBegin = 0;
        std::size_t mEnd = 0;
        std::string_view mName;
        bool mIsEnd = false;   // </name>
        bool mIsEmpty = false; // <name/>
    };

    bool FindTag(TagText* tag);
    std::size_t EndOfSection(std::size_t at) const;
    std::size_t EndOfTag(std::size_t begin) const;
    void CheckEntity(std::size_t at) const;
    pugi::xml_node Parse(std::size_t begin);
    void RequireSingleAttributes() const;
    Place PlaceOf(std::size_t offset) const;
    void Decode(const InputFile& file);
    void RequireCharacters() const;
    [[noreturn]] void Fail(std::size_t offset, const std::string& what) const;

    const std::string mFile;
    std::string mDecoded;   // of another encoding than UTF-8
    std::string_view mText; // in UTF-8
    std::size_t mAt = 0;    // behind the last tag
    TagText mTag;           // the last tag
    bool mHasRoot = false;
    bool mIsClosing = false;             // the opened element is empty
    std::vector<std::string_view> mOpen; // the names of the open elements
    std::string mFragment;               // the text of mDocument
    std::size_t mFragmentBegin = 0;
    pugi::xml_document mDocument;
    mutable std::size_t mLineBegin = 0; // of the last place, for PlaceOf
    mutable std::uint64_t mLine = 1;
};

// Returns whether XML can hold a character, at the start of UTF-8 text, and stores its length.
bool IsXMLCharacter(const char* text, std::size_t size, std::size_t* length);

#endif
