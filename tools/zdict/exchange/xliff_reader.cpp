#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "exchange/exchange_text.h"
#include "exchange/xliff.h"
#include "exchange/xliff_names.h"
#include "exchange/xml_reader.h"
#include "messages.h"

namespace
{
const std::size_t kDeepest = 100; // levels of elements

bool IsOneOf(const std::string& name, std::initializer_list<const char*> names)
{
    for (const char* const one : names)
    {
        if (name == one)
            return true;
    }
    return false;
}

std::string Attribute(pugi::xml_node node, const char* name)
{
    return node.attribute(name).value();
}

void AddLines(const std::string& lines, std::string* all)
{
    *all += (all->empty() ? "" : "\n") + lines;
}

// A reference is a part of one line of a note.
std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

class Reader
{
public:
    Reader(const InputFile& file, const OnEntry& onEntry)
        : mFile(file.mName), mXML(file), mOnEntry(onEntry)
    {
    }

    void Read()
    {
        if (mXML.Next() == XMLReader::kEnd)
            throw Failure{kFaulty, mFile, "it has no elements"};
        ReadRoot(mXML.Tag());
        for (XMLReader::Step step; (step = mXML.Next()) != XMLReader::kEnd;)
        {
            if (step == XMLReader::kOpened)
                ReadElement();
        }
    }

private:
    void ReadRoot(pugi::xml_node root)
    {
        const std::string name = root.name();
        mPrefix = name.substr(0, name.find(':') + 1);
        if (NameOf(root) != "xliff")
            Fail(root, "it isn't XLIFF, but has the root " + Quoted(name));
        const std::string version = Attribute(root, "version");
        mIs20 = IsOneOf(version, {"2.0", "2.1"});
        if (!mIs20 && !IsOneOf(version, {"1.1", "1.2"}))
            Fail(root, "its version " + Quoted(version) + " of XLIFF isn't 1.1, 1.2, 2.0 or 2.1");
        mUnitName = mPrefix + (mIs20 ? "unit" : "trans-unit");
    }

    // Enters the elements that hold units. Any other element is read whole.
    void ReadElement()
    {
        const bool isUnit = mXML.Name() == mUnitName;
        const pugi::xml_node node = isUnit ? mXML.Content() : mXML.Tag();
        const std::string type = Attribute(node, "restype");
        if (type == "x-gettext-plurals")
            ReportAt(mFile, mXML.PlaceOf(node),
                     "plural forms are not carried, the group is left out");
        else if (isUnit && type != "x-gettext-domain-header")
            mOnEntry(mIs20 ? Unit20(node) : Unit12(node));
        else if (IsOneOf(NameOf(node), {"file", "body", "group"}))
        {
            if (mXML.Depth() > kDeepest)
                Fail(node, "the elements are nested too deeply");
            return;
        }
        else if (NameOf(node) == "bin-unit")
            ReportAt(mFile, mXML.PlaceOf(node), "binary data is not carried, the unit is left out");
        if (!isUnit)
            mXML.Content();
    }

    // Returns whether an element is one of XLIFF, not of an extension.
    bool IsOwn(pugi::xml_node node) const
    {
        const std::string name = node.name();
        return node.type() == pugi::node_element && name.compare(0, mPrefix.size(), mPrefix) == 0 &&
               name.find(':', mPrefix.size()) == std::string::npos;
    }

    std::string NameOf(pugi::xml_node node) const
    {
        return IsOwn(node) ? node.name() + mPrefix.size() : std::string();
    }

    pugi::xml_node Child(pugi::xml_node node, const char* name) const
    {
        return node.find_child([&](pugi::xml_node child) { return NameOf(child) == name; });
    }

    // Throws: Failure for a text outside of the elements for texts, or two texts in place of one.
    void RequireOneText(pugi::xml_node parent) const
    {
        std::size_t sources = 0;
        std::size_t targets = 0;
        for (const pugi::xml_node child : parent.children())
        {
            const std::string name = NameOf(child);
            sources += name == "source";
            targets += name == "target";
            if (sources > 1 || targets > 1)
                Fail(child, "it is a second " + name + " of " + Quoted(parent.name()));
            const bool isText =
                child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
            if (isText && std::strspn(child.value(), " \t\r\n") != std::strlen(child.value()))
                Fail(parent, "it holds a text outside of its elements: " + Quoted(child.value()));
        }
    }

    CatalogueEntry Unit12(pugi::xml_node unit) const
    {
        CatalogueEntry entry;
        entry.mPlace = mXML.PlaceOf(unit);
        entry.mKey = Attribute(unit, "resname");
        RequireOneText(unit);
        entry.mEnglish = Text(RequireChild(unit, "source"));
        const pugi::xml_node target = Child(unit, "target");
        entry.mTranslation = Text(target);
        for (const pugi::xml_node child : unit.children())
        {
            const std::string name = NameOf(child);
            if (name == "note")
                AddNote(Attribute(child, "from"), child, &entry.mNote);
            else if (name == "context-group" && Attribute(child, "purpose") == "location")
                AddReference12(child, &entry.mNote);
            else if (name == "alt-trans" && Attribute(child, "alttranstype") == kOldVersion &&
                     Child(child, "source"))
                entry.mNote.mOldEnglish = Text(Child(child, "source"));
        }
        const std::string state = Attribute(target, "state");
        const bool isOpen = state == "new" || state.compare(0, 6, "needs-") == 0 ||
                            (state.empty() && Attribute(unit, "approved") == "no");
        entry.mNote.SetFlag(kFuzzyFlag, isOpen && !entry.mTranslation.empty());
        return entry;
    }

    void AddReference12(pugi::xml_node group, Note* note) const
    {
        std::string reference;
        std::string line;
        for (const pugi::xml_node context : group.children())
        {
            const std::string type = Attribute(context, "context-type");
            if (type == kReferenceFile)
                reference = context.child_value();
            else if (type == kReferenceLine)
                line = context.child_value();
        }
        if (!reference.empty())
            note->mReferences.push_back(OneLine(line.empty() ? reference : reference + ":" + line));
    }

    CatalogueEntry Unit20(pugi::xml_node unit) const
    {
        CatalogueEntry entry;
        entry.mPlace = mXML.PlaceOf(unit);
        entry.mKey = Attribute(unit, "name");
        for (const pugi::xml_node note : Child(unit, "notes").children())
        {
            if (NameOf(note) == "note")
                AddNote(Attribute(note, "category"), note, &entry.mNote);
        }
        AddSegments(unit, &entry);
        return entry;
    }

    // A translation that lacks a segment is left out.
    void AddSegments(pugi::xml_node unit, CatalogueEntry* entry) const
    {
        std::size_t translated = 0;
        std::size_t missing = 0;
        bool isOpen = false;
        RequireOneText(unit);
        for (const pugi::xml_node segment : unit.children())
        {
            const std::string name = NameOf(segment);
            if (!IsOneOf(name, {"segment", "ignorable"}))
                continue;
            RequireOneText(segment);
            const std::string source = Text(RequireChild(segment, "source"));
            const pugi::xml_node target = Child(segment, "target");
            if (target.attribute("order"))
                Fail(target, "segments in another order are not carried");
            const std::string text = Text(target);
            entry->mEnglish += source;
            entry->mTranslation += name == "ignorable" && !target ? source : text;
            translated += name == "segment" && !text.empty();
            missing += name == "segment" && text.empty() && !source.empty();
            isOpen |= Attribute(segment, "state") == kInitialState;
        }
        if (translated && missing)
            ReportAt(mFile, mXML.PlaceOf(unit),
                     "a segment has no translation, so that the unit is left out");
        if (!translated || missing)
            entry->mTranslation.clear();
        entry->mNote.SetFlag(kFuzzyFlag, isOpen && !entry->mTranslation.empty());
    }

    static void AddNote(const std::string& kind, pugi::xml_node node, Note* note)
    {
        std::string text;
        for (const pugi::xml_node child : node.children())
            text += child.value();
        if (kind == kFlagsNote)
        {
            for (const std::string& flag : ParseNote("#, " + text).mFlags)
                note->SetFlag(flag, true);
        }
        else if (kind == kLocationNote)
            note->mReferences.push_back(OneLine(text));
        else if (kind == kOldEnglishNote)
            note->mOldEnglish = text;
        else
            AddLines(text, kind == kDeveloperNote ? &note->mExtracted : &note->mTranslator);
    }

    // Throws: Failure for an inline element that represents content outside of the text.
    std::string Text(pugi::xml_node content) const
    {
        std::string text;
        AddText(content, 0, &text);
        return text;
    }

    void AddText(pugi::xml_node content, std::size_t depth, std::string* text) const
    {
        if (depth > kDeepest)
            Fail(content, "the elements are nested too deeply");
        for (const pugi::xml_node child : content.children())
        {
            if (child.type() != pugi::node_element)
                *text += child.value();
            else if (IsCharacter(child))
                AddCharacter(child, text);
            else if (HasText(child))
                AddText(child, depth + 1, text);
            else
                Fail(child, "the inline element " + Quoted(child.name()) + " is not carried");
        }
    }

    // Returns whether the text of an inline element is all of its content.
    bool HasText(pugi::xml_node node) const
    {
        const std::string name = NameOf(node);
        return mIs20 ? IsOneOf(name, {"mrk", "sm", "em"})
                     : IsOneOf(name, {"mrk", "ph", "bpt", "ept", "it", "sub"});
    }

    bool IsCharacter(pugi::xml_node node) const
    {
        return mIs20 ? NameOf(node) == "cp"
                     : NameOf(node) == "x" && Attribute(node, "ctype") == kCharacterType;
    }

    void AddCharacter(pugi::xml_node node, std::string* text) const
    {
        const std::string number = Attribute(node, mIs20 ? "hex" : "equiv-text");
        const bool isFramed = number.size() > 3 && number.compare(0, 2, "#{") == 0;
        const std::string digits = mIs20      ? number
                                   : isFramed ? number.substr(2, number.size() - 3)
                                              : std::string();
        char* end = nullptr;
        const unsigned long codePoint = std::strtoul(digits.c_str(), &end, 16);
        if (digits.empty() || !std::isxdigit(static_cast<unsigned char>(digits[0])) || *end ||
            !AppendCodePoint(codePoint, text))
            Fail(node, Quoted(number) + " is no character");
    }

    pugi::xml_node RequireChild(pugi::xml_node node, const char* name) const
    {
        const pugi::xml_node child = Child(node, name);
        if (!child)
            Fail(node, std::string("it has no ") + name);
        return child;
    }

    [[noreturn]] void Fail(pugi::xml_node node, const std::string& what) const
    {
        throw FailureAt(mFile, mXML.PlaceOf(node), what);
    }

    const std::string mFile;
    XMLReader mXML;
    const OnEntry& mOnEntry;
    std::string mPrefix; // of the namespace, with its colon
    std::string mUnitName;
    bool mIs20 = false;
};
} // namespace

void ReadXLIFF(const InputFile& file, const OnEntry& onEntry)
{
    Reader(file, onEntry).Read();
}
