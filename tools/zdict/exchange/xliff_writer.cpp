#include "exchange/xliff.h"

#include <cstdio>
#include <cstring>
#include <sstream>
#include <utility>
#include <vector>

#include "exchange/xliff_names.h"
#include "exchange/xml_text.h"
#include "messages.h"

namespace
{
const char kUnits[] = "<!--units-->";

// Returns a locale as de_DE.UTF-8 as a language tag.
std::string TagOf(const std::string& locale)
{
    std::string tag = locale.substr(0, locale.find_first_of(".@"));
    for (char& letter : tag)
        letter = letter == '_' ? '-' : letter;
    return tag.empty() ? "und" : tag;
}

// Returns a name token for a key, that differs for different keys.
std::string TokenOf(const std::string& key)
{
    const char* const digits = "0123456789ABCDEF";
    std::string token;
    for (const char byte : key)
    {
        const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                              (byte >= '0' && byte <= '9');
        const auto value = static_cast<unsigned char>(byte);
        if (isLetter || byte == '-')
            token += byte;
        else if (byte == '/')
            token += '.';
        else
            token += {'_', digits[value >> 4], digits[value & 15]};
    }
    return "k" + token;
}

// Calls one function for the runs of characters that XML can hold, and another one for each
// character that XML can't.
template <typename Run, typename Character>
void ForEachRun(const std::string& text, Run onRun, Character onCharacter)
{
    std::size_t begin = 0;
    for (std::size_t at = 0, length = 0; at < text.size(); at += length)
    {
        if (IsXMLCharacter(&text[at], text.size() - at, &length))
            continue;
        if (at > begin)
            onRun(text.substr(begin, at - begin));
        // U+FFFE or U+FFFF, or a byte.
        onCharacter(length == 1 ? static_cast<unsigned int>(text[at])
                                : 0xFF00U + (static_cast<unsigned char>(text[at + 2]) | 0xC0U));
        begin = at + length;
    }
    if (begin < text.size())
        onRun(text.substr(begin));
}

std::string Hex(unsigned int number, const char* format)
{
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string EntityOf(char character)
{
    static const std::pair<char, const char*> kNames[] = {
        {'&', "amp"}, {'<', "lt"}, {'>', "gt"}, {'"', "quot"}};
    for (const auto& [named, name] : kNames)
    {
        if (named == character)
            return "&" + std::string(name) + ";";
    }
    return "&#" + std::to_string(static_cast<unsigned char>(character)) + ";";
}

// The library would leave carriage returns as they stand, which readers change to line feeds.
std::string Escaped(const std::string& text, const char* special)
{
    std::string escaped;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = text.find_first_of(special, at)) != std::string::npos;)
    {
        escaped.append(text, done, at - done);
        escaped += EntityOf(text[at]);
        done = ++at;
    }
    return escaped.append(text, done);
}

class Writer
{
public:
    Writer(const Catalogue& catalogue, XLIFFVersion version)
        : mCatalogue(catalogue), mVersion(version)
    {
    }

    std::string Write()
    {
        pugi::xml_document shell;
        pugi::xml_node declaration = shell.append_child(pugi::node_declaration);
        declaration.append_attribute("version") = "1.0";
        declaration.append_attribute("encoding") = "UTF-8";
        AddText(shell, "\n");
        AddShell(shell.append_child("xliff"));
        const std::string text = Saved(shell);
        const std::size_t place = text.rfind(kUnits);

        std::string result = text.substr(0, place);
        for (const CatalogueEntry& entry : mCatalogue.mEntries)
        {
            // A document for each unit takes a fraction of the memory that one for all would take.
            pugi::xml_document unit;
            if (mVersion == XLIFFVersion::k12)
                AddUnit12(unit, entry);
            else
                AddUnit20(unit, entry);
            result += Saved(unit);
        }
        return result + text.substr(place + std::strlen(kUnits)) + "\n";
    }

private:
    static std::string Saved(const pugi::xml_document& document)
    {
        std::ostringstream stream;
        document.save(stream, "",
                      pugi::format_raw | pugi::format_no_escapes | pugi::format_no_declaration,
                      pugi::encoding_utf8);
        return stream.str();
    }

    static void AddText(pugi::xml_node node, const std::string& text)
    {
        node.append_child(pugi::node_pcdata).set_value(Escaped(text, "&<>\r").c_str());
    }

    // The lines and their depth are part of the document, since the library would also indent the
    // parts of a text.
    static pugi::xml_node AddChild(pugi::xml_node node, const char* name, std::size_t depth)
    {
        AddText(node, "\n" + std::string(depth, ' '));
        return node.append_child(name);
    }

    static void EndChildren(pugi::xml_node node, std::size_t depth)
    {
        AddText(node, "\n" + std::string(depth, ' '));
    }

    static void Set(pugi::xml_node node, const char* name, const std::string& value)
    {
        node.append_attribute(name) = Escaped(value, "&<>\"\r\n\t").c_str();
    }

    // Throws: Failure.
    static void SetKey(pugi::xml_node node, const char* name, const std::string& key)
    {
        ForEachRun(
            key, [](const std::string&) {},
            [&](unsigned int) {
                throw Failure{kFaulty, std::string(),
                              "XML can't hold the key " + Quoted(key) +
                                  ", which has a control character"};
            });
        Set(node, name, key);
    }

    // A note is no text of the application: characters that XML can't hold are replaced.
    static void AddNoteText(pugi::xml_node node, const std::string& text)
    {
        ForEachRun(
            text, [&](const std::string& run) { AddText(node, run); },
            [&](unsigned int) { AddText(node, "\uFFFD"); });
    }

    pugi::xml_node AddContent(pugi::xml_node node, const char* name, std::size_t depth,
                              const std::string& text) const
    {
        pugi::xml_node content = AddChild(node, name, depth);
        unsigned int id = 0;
        ForEachRun(
            text, [&](const std::string& run) { AddText(content, run); },
            [&](unsigned int character) {
                if (mVersion == XLIFFVersion::k20)
                {
                    Set(content.append_child("cp"), "hex", Hex(character, "%04X"));
                    return;
                }
                pugi::xml_node code = content.append_child("x");
                Set(code, "id", std::to_string(++id));
                Set(code, "ctype", kCharacterType);
                Set(code, "equiv-text", Hex(character, "#{%X}"));
            });
        return content;
    }

    // Adds all but the units, whose place gets a comment.
    void AddShell(pugi::xml_node root) const
    {
        const bool is12 = mVersion == XLIFFVersion::k12;
        const std::string version = is12 ? "1.2" : "2.0";
        const std::string target = TagOf(mCatalogue.mLocale);
        Set(root, "xmlns", "urn:oasis:names:tc:xliff:document:" + version);
        Set(root, "version", version);
        pugi::xml_node file = AddChild(root, "file", 1);
        Set(file, "original", mCatalogue.mEnglishFile);
        pugi::xml_node units = file;
        if (is12)
        {
            Set(file, "source-language", "en");
            Set(file, "target-language", target);
            Set(file, "datatype", "plaintext");
            units = AddChild(file, "body", 2);
        }
        else
        {
            Set(root, "srcLang", "en");
            Set(root, "trgLang", target);
            Set(file, "id", "texts");
            Set(file, "xml:space", "preserve");
        }
        units.append_child(pugi::node_comment).set_value("units");
        if (is12)
            EndChildren(units, 2);
        EndChildren(file, 1);
        EndChildren(root, 0);
    }

    void AddUnit12(pugi::xml_node parent, const CatalogueEntry& entry) const
    {
        const bool isDone = !entry.mTranslation.empty() && !entry.mNote.IsFuzzy();
        pugi::xml_node unit = AddChild(parent, "trans-unit", 3);
        SetKey(unit, "id", entry.mKey);
        SetKey(unit, "resname", entry.mKey);
        Set(unit, "approved", isDone ? "yes" : "no");
        Set(unit, "xml:space", "preserve");
        AddContent(unit, "source", 4, entry.mEnglish);
        if (!entry.mTranslation.empty())
            Set(AddContent(unit, "target", 4, entry.mTranslation), "state",
                isDone ? "translated" : "needs-review-translation");
        const Note& note = entry.mNote;
        for (const std::string& reference : note.mReferences)
            AddReference12(unit, reference);
        const std::string flags = FlagsOf(note);
        const std::pair<const char*, const std::string&> kNotes[] = {
            {kDeveloperNote, note.mExtracted},
            {kFlagsNote, flags},
            {kTranslatorNote, note.mTranslator}};
        for (const auto& [from, text] : kNotes)
        {
            if (text.empty())
                continue;
            pugi::xml_node child = AddChild(unit, "note", 4);
            Set(child, "from", from);
            AddNoteText(child, text);
        }
        if (note.mOldEnglish)
        {
            pugi::xml_node old = AddChild(unit, "alt-trans", 4);
            Set(old, "alttranstype", kOldVersion);
            AddContent(old, "source", 5, *note.mOldEnglish);
            AddContent(old, "target", 5, entry.mTranslation);
            EndChildren(old, 4);
        }
        EndChildren(unit, 3);
    }

    static void AddReference12(pugi::xml_node unit, const std::string& reference)
    {
        const auto [file, line] = SplitReference(reference);
        pugi::xml_node group = AddChild(unit, "context-group", 4);
        Set(group, "name", kReferenceGroup);
        Set(group, "purpose", "location");
        pugi::xml_node context = group.append_child("context");
        Set(context, "context-type", kReferenceFile);
        AddNoteText(context, file);
        if (line.empty())
            return;
        context = group.append_child("context");
        Set(context, "context-type", kReferenceLine);
        AddNoteText(context, line);
    }

    void AddUnit20(pugi::xml_node parent, const CatalogueEntry& entry) const
    {
        pugi::xml_node unit = AddChild(parent, "unit", 2);
        Set(unit, "id", TokenOf(entry.mKey));
        SetKey(unit, "name", entry.mKey);
        AddNotes20(unit, entry.mNote);
        const bool isDone = !entry.mTranslation.empty() && !entry.mNote.IsFuzzy();
        pugi::xml_node segment = AddChild(unit, "segment", 3);
        Set(segment, "state", isDone ? "translated" : kInitialState);
        AddContent(segment, "source", 4, entry.mEnglish);
        if (!entry.mTranslation.empty())
            AddContent(segment, "target", 4, entry.mTranslation);
        EndChildren(segment, 3);
        EndChildren(unit, 2);
    }

    static void AddNotes20(pugi::xml_node unit, const Note& note)
    {
        std::vector<std::pair<const char*, std::string>> notes;
        for (const std::string& reference : note.mReferences)
            notes.emplace_back(kLocationNote, reference);
        const std::string flags = FlagsOf(note);
        if (!note.mExtracted.empty())
            notes.emplace_back(kDeveloperNote, note.mExtracted);
        if (!flags.empty())
            notes.emplace_back(kFlagsNote, flags);
        if (note.mOldEnglish)
            notes.emplace_back(kOldEnglishNote, *note.mOldEnglish);
        if (!note.mTranslator.empty())
            notes.emplace_back(kTranslatorNote, note.mTranslator);
        if (notes.empty())
            return;
        pugi::xml_node list = AddChild(unit, "notes", 3);
        for (const auto& [category, text] : notes)
        {
            pugi::xml_node child = AddChild(list, "note", 4);
            Set(child, "category", category);
            AddNoteText(child, text);
        }
        EndChildren(list, 3);
    }

    // The states of the formats express fuzzy.
    static std::string FlagsOf(const Note& note)
    {
        std::string flags;
        for (const std::string& flag : note.mFlags)
        {
            if (flag != kFuzzyFlag)
                flags += (flags.empty() ? "" : ", ") + flag;
        }
        return flags;
    }

    const Catalogue& mCatalogue;
    const XLIFFVersion mVersion;
};
} // namespace

std::string WriteXLIFF(const Catalogue& catalogue, XLIFFVersion version)
{
    return Writer(catalogue, version).Write();
}
