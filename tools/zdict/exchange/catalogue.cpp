#include "exchange/catalogue.h"

#include <utility>
#include <vector>

#include <hollin/Markers.h>

#include "exchange/exchange_text.h"
#include "images/text_output.h"
#include "messages.h"

const std::string kEmptyOnPurpose(hollin::kCommentMarker);

namespace
{
// Catalogues have no NULs, and a note is no text of the application.
std::string WithoutNul(std::string text)
{
    for (std::size_t at = 0; (at = text.find('\0', at)) != std::string::npos;)
        text.replace(at, 1, "\uFFFD");
    return text;
}

// The comment of an image's entry is a note, too.
NotedText Split(const EntryTable& table, std::uint32_t id)
{
    NotedText split = SplitNote(ToZString(table.Text(id)));
    if (const UnitView comment = table.Comment(id); split.mNote.IsEmpty() && !comment.empty())
        split.mNote = ParseNote(ToUTF8(ToZString(comment)));
    for (std::string* const lines : {&split.mNote.mExtracted, &split.mNote.mTranslator})
        *lines = WithoutNul(std::move(*lines));
    for (std::string& reference : split.mNote.mReferences)
        reference = WithoutNul(std::move(reference));
    return split;
}

// Throws: Failure.
void RequireKeys(const EntryTable& table, const std::string& file)
{
    std::size_t faults = 0;
    for (const std::uint32_t id : table.Entries())
    {
        const std::string key(table.Key(id));
        const char* const problem = KeyProblem(key);
        if (problem)
            Report(file, "the key " + Quoted(key) + " " + problem);
        faults += problem != nullptr;
    }
    if (faults)
        throw Failure{kFaulty, file, std::string()};
}

std::string TranslationOf(const hollin::ZString& text)
{
    const std::string translation = ToExchange(text);
    return translation.empty() ? kEmptyOnPurpose : translation;
}

// Adds the source code's part of a note to the translation's.
void AddSourceNote(const Note& english, Note* note)
{
    if (!english.mReferences.empty())
        note->mReferences = english.mReferences;
    // A remark in the text of the source code is for translators.
    const char* const between =
        english.mExtracted.empty() || english.mTranslator.empty() ? "" : "\n";
    const std::string extracted = english.mExtracted + between + english.mTranslator;
    if (!extracted.empty())
        note->mExtracted = extracted;
    for (const std::string& flag : english.mFlags)
    {
        if (flag != kFuzzyFlag && flag != kObsoleteFlag)
            note->SetFlag(flag, true);
    }
}

CatalogueEntry MakeEntry(const EntryTable& english, std::uint32_t id,
                         const EntryTable& translations)
{
    const NotedText source = Split(english, id);
    CatalogueEntry entry;
    entry.mKey = english.Key(id);
    entry.mEnglish = ToExchange(source.mText);
    const std::uint32_t translation = translations.Find(english.Key(id));
    if (translation != hollin::kNoId)
    {
        NotedText target = Split(translations, translation);
        entry.mTranslation = TranslationOf(target.mText);
        entry.mNote = std::move(target.mNote);
    }
    entry.mNote.SetFlag(kObsoleteFlag, false);
    if (entry.mNote.mOldEnglish == ToUTF8(source.mText))
        entry.mNote.mOldEnglish.reset();
    if (entry.mNote.mOldEnglish)
    {
        entry.mNote.SetFlag(kFuzzyFlag, true);
        entry.mNote.mOldEnglish = ToExchange(FromUTF8(*entry.mNote.mOldEnglish));
    }
    AddSourceNote(source.mNote, &entry.mNote);
    return entry;
}

CatalogueEntry MakeObsolete(const EntryTable& translations, std::uint32_t id)
{
    NotedText target = Split(translations, id);
    CatalogueEntry entry;
    entry.mKey = translations.Key(id);
    entry.mTranslation = TranslationOf(target.mText);
    entry.mNote = std::move(target.mNote);
    entry.mNote.SetFlag(kObsoleteFlag, true);
    entry.mEnglish = ToExchange(FromUTF8(entry.mNote.mOldEnglish.value_or(std::string())));
    entry.mNote.mOldEnglish.reset();
    return entry;
}

} // namespace

std::string At(const std::string& file, Place place)
{
    if (!place.mLine)
        return file;
    const std::string line = file + ":" + std::to_string(place.mLine);
    return place.mColumn ? line + ":" + std::to_string(place.mColumn) : line;
}

Failure FailureAt(const std::string& file, Place place, const std::string& what)
{
    return {kFaulty, At(file, place), what, place.mLine != 0};
}

void ReportAt(const std::string& file, Place place, const std::string& what)
{
    Report(FailureAt(file, place, what));
}

Catalogue MakeCatalogue(const EntryTable& english, const std::string& englishFile,
                        const EntryTable& translations, const std::string& translationFile)
{
    RequireKeys(english, englishFile);
    RequireKeys(translations, translationFile);
    Catalogue catalogue;
    catalogue.mEnglishFile = englishFile.substr(englishFile.find_last_of("/\\") + 1);
    catalogue.mTranslationFile = translationFile;
    catalogue.mForEach = [&english, &translations](const OnEntry& onEntry) {
        for (const std::uint32_t id : english.Entries())
            onEntry(MakeEntry(english, id, translations));
        for (const std::uint32_t id : translations.Entries())
        {
            if (english.Find(translations.Key(id)) == hollin::kNoId)
                onEntry(MakeObsolete(translations, id));
        }
    };
    return catalogue;
}
