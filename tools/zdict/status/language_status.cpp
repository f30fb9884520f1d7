#include "status/language_status.h"

#include "lint/languages.h"
#include "lint/text_notes.h"
#include "lint/translation_checks.h"
#include "lint/units.h"

namespace
{
// A note may say that the English text is right in a language, too.
bool MayBeEnglish(const TextPair& pair)
{
    const std::string flag = std::string("no-") + InfoOf(LintCheck::kUntranslated).mName;
    return NoteOf(pair.mTranslation).HasFlag(flag) || NoteOf(pair.mEnglish).HasFlag(flag);
}

void AddText(const RawLine& english, const RawLine& translation, LanguageStatus* status)
{
    const TextPair pair(english, translation);
    StatusText text = {english.Key(), UTF8Of(pair.English()), UTF8Of(pair.Translation()),
                       std::string(), translation.mNumber};
    if (pair.IsOutdated(&text.mOldEnglish))
        status->mOutdated.push_back(std::move(text));
    else if (pair.Translation().empty() || (pair.IsUntranslated() && !MayBeEnglish(pair)))
        status->mUntranslated.push_back(std::move(text));
    else
        ++status->mTranslated;
}
} // namespace

LanguageStatus StatusOf(const LintedFile& english, const LintedFile& translation)
{
    LanguageStatus status;
    const std::string locale = LocaleOfFile(translation.mName);
    status.mName = locale.empty() ? translation.mName : locale;
    status.mFile = translation.mName;
    for (const RawLine& line : english.mLines)
    {
        const std::string shown = UTF8Of(TextPair(line, line).English());
        if (shown.empty())
            continue;
        ++status.mEnglish;
        const auto found = translation.mIndices.find(line.Key());
        if (found == translation.mIndices.end())
            status.mMissing.push_back({line.Key(), shown, std::string(), std::string(), 0});
        else
            AddText(line, translation.mLines[found->second], &status);
    }
    for (const RawLine& line : translation.mLines)
    {
        if (!english.mIndices.count(line.Key()))
            status.mObsolete.push_back({line.Key(), std::string(),
                                        UTF8Of(TextPair(line, line).Translation()), std::string(),
                                        line.mNumber});
    }
    return status;
}
