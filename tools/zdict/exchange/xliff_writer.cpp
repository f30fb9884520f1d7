#include "exchange/xliff.h"

#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "exchange/xliff_names.h"
#include "exchange/xml_reader.h"
#include "exchange/xml_writer.h"
#include "messages.h"

namespace
{
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
void ForEachRun(std::string_view text, Run onRun, Character onCharacter)
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

class Writer
{
public:
    explicit Writer(XLIFFVersion version) : mVersion(version), mXML(&mText) {}

    std::string Write(const Catalogue& catalogue)
    {
        const bool is12 = mVersion == XLIFFVersion::k12;
        const std::string version = is12 ? "1.2" : "2.0";
        const std::string target = TagOf(catalogue.mLocale);
        mText.reserve(catalogue.mRoom);
        mXML.Open("xliff");
        mXML.Set("xmlns", "urn:oasis:names:tc:xliff:document:" + version);
        mXML.Set("version", version);
        if (!is12)
        {
            mXML.Set("srcLang", "en");
            mXML.Set("trgLang", target);
        }
        mXML.Open("file");
        mXML.Set("original", catalogue.mEnglishFile);
        if (is12)
        {
            mXML.Set("source-language", "en");
            mXML.Set("target-language", target);
            mXML.Set("datatype", "plaintext");
            mXML.Open("body");
        }
        else
        {
            mXML.Set("id", "texts");
            mXML.Set("xml:space", "preserve");
        }
        catalogue.mForEach(
            [&](const CatalogueEntry& entry) { is12 ? AddUnit12(entry) : AddUnit20(entry); });
        for (int open = is12 ? 3 : 2; open; --open)
            mXML.Close();
        mText += '\n';
        return std::move(mText);
    }

private:
    // Throws: Failure.
    void SetKey(const char* name, const std::string& key)
    {
        ForEachRun(
            key, [](std::string_view) {},
            [&](unsigned int) {
                throw Failure{kFaulty, std::string(),
                              "XML can't hold the key " + Quoted(key) +
                                  ", which has a control character"};
            });
        mXML.Set(name, key);
    }

    // A note is no text of the application: characters that XML can't hold are replaced.
    void AddNoteText(const std::string& text)
    {
        ForEachRun(
            text, [&](std::string_view run) { mXML.Text(run); },
            [&](unsigned int) { mXML.Text("\uFFFD"); });
    }

    void AddText(const std::string& text)
    {
        unsigned int id = 0;
        ForEachRun(
            text, [&](std::string_view run) { mXML.Text(run); },
            [&](unsigned int character) { AddCharacter(character, ++id); });
    }

    void AddCharacter(unsigned int character, unsigned int id)
    {
        if (mVersion == XLIFFVersion::k20)
        {
            mXML.OpenInline("cp");
            mXML.Set("hex", Hex(character, "%04X"));
        }
        else
        {
            mXML.OpenInline("x");
            mXML.Set("id", std::to_string(id));
            mXML.Set("ctype", kCharacterType);
            mXML.Set("equiv-text", Hex(character, "#{%X}"));
        }
        mXML.Close();
    }

    void AddContent(const char* name, const std::string& text)
    {
        mXML.Open(name);
        AddText(text);
        mXML.Close();
    }

    void AddNote(const char* attribute, const char* kind, const std::string& text)
    {
        if (!text.empty())
            WriteNote(attribute, kind, text);
    }

    void WriteNote(const char* attribute, const char* kind, const std::string& text)
    {
        mXML.Open("note");
        mXML.Set(attribute, kind);
        AddNoteText(text);
        mXML.Close();
    }

    void AddUnit12(const CatalogueEntry& entry)
    {
        const bool isDone = !entry.mTranslation.empty() && !entry.mNote.IsFuzzy();
        mXML.Open("trans-unit");
        SetKey("id", entry.mKey);
        SetKey("resname", entry.mKey);
        // Without a translation, the attribute would mark the tool's translation as fuzzy.
        if (!entry.mTranslation.empty())
            mXML.Set("approved", isDone ? "yes" : "no");
        mXML.Set("xml:space", "preserve");
        AddContent("source", entry.mEnglish);
        if (!entry.mTranslation.empty())
        {
            mXML.Open("target");
            mXML.Set("state", isDone ? "translated" : "needs-review-translation");
            AddText(entry.mTranslation);
            mXML.Close();
        }
        const Note& note = entry.mNote;
        for (const std::string& reference : note.mReferences)
            AddReference12(reference);
        AddNote("from", kDeveloperNote, note.mExtracted);
        AddNote("from", kFlagsNote, FlagsOf(note));
        AddNote("from", kTranslatorNote, note.mTranslator);
        if (note.mOldEnglish)
        {
            mXML.Open("alt-trans");
            mXML.Set("alttranstype", kOldVersion);
            AddContent("source", *note.mOldEnglish);
            AddContent("target", entry.mTranslation);
            mXML.Close();
        }
        mXML.Close();
    }

    void AddReference12(const std::string& reference)
    {
        const auto [file, line] = SplitReference(reference);
        mXML.Open("context-group");
        mXML.Set("name", kReferenceGroup);
        mXML.Set("purpose", "location");
        AddContext12(kReferenceFile, file);
        if (!line.empty())
            AddContext12(kReferenceLine, line);
        mXML.Close();
    }

    void AddContext12(const char* type, const std::string& text)
    {
        mXML.OpenInline("context");
        mXML.Set("context-type", type);
        AddNoteText(text);
        mXML.Close();
    }

    void AddUnit20(const CatalogueEntry& entry)
    {
        mXML.Open("unit");
        mXML.Set("id", TokenOf(entry.mKey));
        SetKey("name", entry.mKey);
        AddNotes20(entry.mNote);
        const bool isDone = !entry.mTranslation.empty() && !entry.mNote.IsFuzzy();
        mXML.Open("segment");
        mXML.Set("state", isDone ? "translated" : kInitialState);
        AddContent("source", entry.mEnglish);
        if (!entry.mTranslation.empty())
            AddContent("target", entry.mTranslation);
        mXML.Close();
        mXML.Close();
    }

    void AddNotes20(const Note& note)
    {
        const std::string flags = FlagsOf(note);
        if (note.mReferences.empty() && note.mExtracted.empty() && flags.empty() &&
            !note.mOldEnglish && note.mTranslator.empty())
            return;
        mXML.Open("notes");
        for (const std::string& reference : note.mReferences)
            WriteNote("category", kLocationNote, reference);
        AddNote("category", kDeveloperNote, note.mExtracted);
        AddNote("category", kFlagsNote, flags);
        if (note.mOldEnglish)
            WriteNote("category", kOldEnglishNote, *note.mOldEnglish);
        AddNote("category", kTranslatorNote, note.mTranslator);
        mXML.Close();
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

    const XLIFFVersion mVersion;
    std::string mText;
    XMLWriter mXML;
};
} // namespace

std::string WriteXLIFF(const Catalogue& catalogue, XLIFFVersion version)
{
    return Writer(version).Write(catalogue);
}
