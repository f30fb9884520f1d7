#include "exchange/xml_writer.h"

#include "xml_escape.h"

XMLWriter::XMLWriter(std::string* xml) : mXML(*xml)
{
    mXML += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
}

void XMLWriter::Open(const char* name)
{
    EndTag();
    if (!mOpen.empty())
        mOpen.back().mHasLines = true;
    BeginLine();
    OpenInline(name);
}

void XMLWriter::OpenInline(const char* name)
{
    EndTag();
    mXML += '<';
    mXML += name;
    mOpen.push_back({name});
    mInTag = true;
}

void XMLWriter::Set(const char* name, std::string_view value)
{
    mXML += ' ';
    mXML += name;
    mXML += "=\"";
    // Readers change other blanks of an attribute to spaces.
    AppendEscaped(value, "&<>\"\r\n\t", &mXML);
    mXML += '"';
}

void XMLWriter::Text(std::string_view text)
{
    EndTag();
    // Readers change carriage returns to line feeds.
    AppendEscaped(text, "&<>\r", &mXML);
}

void XMLWriter::Close()
{
    const Element element = mOpen.back();
    mOpen.pop_back();
    if (mInTag)
    {
        mXML += "/>";
        mInTag = false;
        return;
    }
    if (element.mHasLines)
        BeginLine();
    mXML += "</";
    mXML += element.mName;
    mXML += '>';
}

void XMLWriter::EndTag()
{
    if (mInTag)
        mXML += '>';
    mInTag = false;
}

void XMLWriter::BeginLine()
{
    mXML += '\n';
    mXML.append(mOpen.size(), ' ');
}
