// Writes XML as it goes, without a tree.
//
//     XMLWriter writer(&text);
//     writer.Open("file");
//     writer.Set("id", "a");
//     writer.Open("source");
//     writer.Text("a < b");
//     writer.Close();
//     writer.Close();

#ifndef ZDICT_EXCHANGE_XML_WRITER_H
#define ZDICT_EXCHANGE_XML_WRITER_H

#include <string>
#include <string_view>
#include <vector>

class XMLWriter
{
public:
    // Writes the declaration.
    explicit XMLWriter(std::string* xml);

    // Opens an element. Open writes it in a line of its own, indented by its depth.
    void Open(const char* name);
    void OpenInline(const char* name);

    // Adds an attribute. REQUIRES: the element has no content yet.
    void Set(const char* name, std::string_view value);

    // REQUIRES: XML can hold each character.
    void Text(std::string_view text);

    // Closes the element that was opened last.
    void Close();

private:
    struct Element
    {
        const char* mName;
        bool mHasLines = false;
    };

    void EndTag();
    void BeginLine();

    std::string& mXML;
    std::vector<Element> mOpen;
    bool mInTag = false; // the start tag is not ended
};

#endif
