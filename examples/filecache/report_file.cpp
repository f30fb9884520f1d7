#include "report_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include <U_AnyTree.h>
#include <U_Encoding.h>
#include <U_XML.h>

#include "system.h"

namespace
{
const char kJSONEnding[] = ".json";
const char kXMLEnding[] = ".xml";

bool EndsWith(std::string_view text, std::string_view ending)
{
    return text.size() >= ending.size() &&
           text.substr(text.size() - ending.size()).compare(ending) == 0;
}

// The report in JSON.

U_UTF16String Key(const char* name)
{
    return U_AsciiToUTF16String(name);
}

void PutUnlessEmpty(U_AnyTreeWrapper tree, const char* key, const U_AnyTree& list)
{
    if (!list.empty())
        tree.put(key, list);
}

U_AnyTree Figures(const Table& table)
{
    U_AnyTree figures;
    for (const Table::Row& row : table.Rows())
        U_AnyTreeWrapper(figures).put(row.name.c_str(), row.value);
    return figures;
}

// Returns a list with an entry for each loss: the path, and the detail under a key.
template <class Loss, class Detail>
U_AnyTree ListOf(const std::vector<Loss>& losses, const char* key, const Detail& detail)
{
    U_AnyTree list;
    for (const Loss& loss : losses)
    {
        U_AnyTree entry;
        U_AnyTreeWrapper(entry).push_back(Key("path"), ToUTF16(loss.path));
        U_AnyTreeWrapper(entry).push_back(Key(key), detail(loss));
        U_AnyTreeWrapper(list).put(entry);
    }
    return list;
}

std::string AsJSON(const std::string& folder, const Table& table, const Losses& losses)
{
    U_AnyTree report;
    U_AnyTreeWrapper wrapper(report);
    wrapper.put("folder", ToUTF16(folder));
    wrapper.put("figures", Figures(table));
    const auto reason = [](const Losses::Unreadable& loss) { return ToUTF16(loss.reason); };
    PutUnlessEmpty(wrapper, "unreadable", ListOf(losses.AllUnreadable(), "reason", reason));
    const auto bytes = [](const Losses::Refused& loss) { return static_cast<U_i64>(loss.size); };
    PutUnlessEmpty(wrapper, "refused", ListOf(losses.AllRefused(), "bytes", bytes));
    return ToUTF8(wrapper.GetAs_JSON()) + '\n';
}

// The report in XML.

bool IsForXML(U_u16 unit)
{
    const bool isControl = unit < ' ' && unit != '\t' && unit != '\n' && unit != '\r';
    return !isControl && unit != 0xFFFE && unit != 0xFFFF;
}

U_UTF8String TextForXML(const std::string& text)
{
    U_UTF16String units = ToUTF16(text);
    std::replace_if(
        units.begin(), units.end(), [](U_u16 unit) { return !IsForXML(unit); }, U_u16(0xFFFD));
    return U_UTF16To8String(units);
}

void AppendStart(const U_XML_Element& element, U_UTF8String* xml)
{
    const U_UTF8String name = element.GetName();
    *xml += U_UTF8String(1, '<') + name;
    for (auto at = element.GetAttrsBegin(); at != element.GetAttrsEnd(); ++at)
    {
        xml->push_back(' ');
        *xml += at->first;
        xml->push_back('=');
        xml->push_back('"');
        *xml += U_EscapeAttributeValueToSafeXML(at->second, false, false);
        xml->push_back('"');
    }
    xml->push_back('>');
    *xml += U_EscapeBodyTextToSafeXML(element.GetBodyText(), false, false);
}

void AppendEnd(const U_XML_Element& element, U_UTF8String* xml)
{
    xml->push_back('<');
    xml->push_back('/');
    *xml += element.GetName();
    xml->push_back('>');
    xml->push_back('\n');
}

// An element with nothing inside but text.
void AppendLeaf(const char* name, const char* attribute, const std::string& value,
                const std::string& body, U_UTF8String* xml)
{
    U_XML_Element element(TextForXML(name), 0);
    element.SetAttribute(attribute, TextForXML(value));
    element.SetBodyText(TextForXML(body));
    AppendStart(element, xml);
    AppendEnd(element, xml);
}

std::string AsXML(const std::string& folder, const Table& table, const Losses& losses)
{
    U_UTF8String xml = TextForXML("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    U_XML_Element report(TextForXML("filecache"), 0);
    report.SetAttribute("folder", TextForXML(folder));
    AppendStart(report, &xml);
    xml.push_back('\n');
    for (const Table::Row& row : table.Rows())
        AppendLeaf("figure", "name", row.name, row.value.GetAs_MBStr(), &xml);
    for (const Losses::Unreadable& loss : losses.AllUnreadable())
        AppendLeaf("unreadable", "reason", loss.reason, loss.path, &xml);
    for (const Losses::Refused& loss : losses.AllRefused())
        AppendLeaf("refused", "bytes", std::to_string(loss.size), loss.path, &xml);
    AppendEnd(report, &xml);
    return std::string(xml.begin(), xml.end());
}

// Returns 0 or the system's error.
int WriteFile(const std::string& path, const std::string& text)
{
    std::FILE* const file = OpenFile(path, "wb");
    if (!file)
        return errno;
    int error = std::fwrite(text.data(), 1, text.size(), file) == text.size() ? 0 : errno;
    if (std::fclose(file) != 0 && !error)
        error = errno;
    return error;
}
} // namespace

bool HasReportEnding(const std::string& path)
{
    return EndsWith(path, kJSONEnding) || EndsWith(path, kXMLEnding);
}

Message WriteReport(const std::string& path, const std::string& folder, const Table& table,
                    const Losses& losses)
{
    const bool isXML = EndsWith(path, kXMLEnding);
    const int error =
        WriteFile(path, isXML ? AsXML(folder, table, losses) : AsJSON(folder, table, losses));
    return error ? CantWrite(path, std::strerror(error)) : Message();
}
