#include "lint/translation_checks.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

#include <boost/unordered/unordered_flat_map.hpp>

#include <hollin/Markers.h>

#include "lint/parameters.h"
#include "lint/text_notes.h"
#include "lint/units.h"
#include "messages.h"

namespace
{
const std::size_t kNone = std::u16string::npos;
const std::u16string_view kShortcut = u" \b";

std::u16string_view Shown(const ExpandedText& text, const TextParts& parts)
{
    return std::u16string_view(text.Units()).substr(parts.mShown, parts.mShownEnd - parts.mShown);
}

std::u16string WithoutYear(std::u16string_view text)
{
    const std::u16string all(text);
    return hollin::WithBuildYear(all, hollin::FindMarker(all, hollin::kCopyYearMarker, 0), "-");
}

// Returns whether a translation changes the text: it has
// - a word of four letters or more, as Open, or of three letters as Cut, but not as MiB,
// - two words, of which one has three letters or more, or
// - two words of four capital letters or more. One such word may be a name, as SPARC.
// Short words with a digit, as Win32, are names.
bool HasWord(std::u16string_view text)
{
    const auto isSmall = [](char16_t unit) { return unit >= 'a'; };
    std::size_t words = 0; // of small letters after the first letter
    std::size_t longest = 0;
    std::size_t capitals = 0;
    for (auto head = text.begin(); head != text.end();)
    {
        const auto end = std::find_if_not(head, text.end(), IsWordUnit);
        const auto length = static_cast<std::size_t>(end - head);
        const auto small = static_cast<std::size_t>(std::count_if(head, end, isSmall));
        const bool isTitle = small + 1 == length && !isSmall(*head);
        const bool isName = end != text.end() && *end >= '0' && *end <= '9';
        if ((length >= 4 && small) || (length == 3 && isTitle && !isName))
            return true;
        if (length >= 2 && !isName && (isTitle || small == length))
        {
            ++words;
            longest = std::max(longest, length);
        }
        capitals += length >= 4 && !small;
        head = end == text.end() ? end : end + 1;
    }
    return (words > 1 && longest > 2) || capitals > 1;
}

struct LineEnds
{
    explicit LineEnds(std::u16string_view text)
    {
        for (std::size_t i = 0; i < text.size(); ++i)
        {
            const bool isPair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
            mPairs += isPair ? 1 : 0;
            mFeeds += text[i] == '\n' ? 1 : 0;
            mReturns += text[i] == '\r' && !isPair ? 1 : 0;
            i += isPair ? 1 : 0;
        }
    }

    std::string Names() const
    {
        std::string names;
        const auto add = [&](std::size_t count, const char* name) {
            if (count)
                names += (names.empty() ? "" : " and ") + std::string(name);
        };
        add(mFeeds, "\\n");
        add(mReturns, "\\r");
        add(mPairs, "\\r\\n");
        return names;
    }

    std::size_t mFeeds = 0;
    std::size_t mReturns = 0;
    std::size_t mPairs = 0;
};

std::u16string_view WithoutBlankEnds(std::u16string_view text)
{
    text.remove_prefix(BlankHead(text));
    return text.substr(0, text.size() - BlankEnd(text));
}

std::u16string WithoutReturns(std::u16string_view text)
{
    std::u16string result(text);
    result.erase(std::remove(result.begin(), result.end(), u'\r'), result.end());
    return result;
}

std::string Named(std::u16string_view format)
{
    return format.empty() ? "none" : QuotedUnits(format);
}

// Returns the blanks as they are written in a line, so that a reader tells them apart.
std::string NamedBlanks(std::u16string_view blanks)
{
    std::string written;
    for (const char16_t blank : blanks)
    {
        const char* const controls = "\tt\nn\rr";
        const char* const control = blank < ' ' ? std::strchr(controls, blank) : nullptr;
        char number[sizeof "#{2009}"];
        std::snprintf(number, sizeof number, "#{%X}", static_cast<unsigned int>(blank));
        written += blank == ' ' ? " " : control ? std::string("\\") + control[1] : number;
    }
    return blanks.empty() ? "none" : "\"" + written + "\"";
}

// Checks one text.
class PairChecker
{
public:
    PairChecker(const std::string& file, const RawLine& english, const RawLine& line,
                Findings* findings)
        : mFile(file), mLine(line), mFindings(findings), mPair(english, line),
          mEnglish(mPair.English()), mText(mPair.Translation())
    {
    }

    const TextPair& Pair() const { return mPair; }

    void CheckAll()
    {
        CheckAge();
        CheckLength();
        if (mText.empty() && !mEnglish.empty())
            return Add(LintCheck::kEmptyTranslation, 0, "the translation is empty");
        if (mPair.IsUntranslated())
            Add(LintCheck::kUntranslated, 0,
                "the text is the English one: " + QuotedUnits(mEnglish));
        CheckPlaces();
        CheckFields();
        CheckMarkers();
        CheckMnemonics();
        CheckBlanks();
        CheckLineEnds();
    }

private:
    // `at` is an offset in the shown text.
    void Add(LintCheck check, std::size_t at, const std::string& message)
    {
        mFindings->Add(check, mFile, mLine,
                       mPair.mTranslation.OffsetOf(mPair.mTranslationParts.mShown + at), message);
    }

    void CheckAge();
    void CheckLength();
    void CheckPlaces();
    void CheckFields();
    void CheckMarkers();
    void CheckMnemonics();
    void CheckBlanks();
    void CheckLineEnds();

    const std::string& mFile;
    const RawLine& mLine;
    Findings* const mFindings;
    const TextPair mPair;
    const std::u16string_view mEnglish;
    const std::u16string_view mText;
};

void PairChecker::CheckAge()
{
    std::string oldEnglish;
    if (mPair.IsOutdated(&oldEnglish))
        Add(LintCheck::kOutdated, 0,
            oldEnglish.empty()
                ? "the translation is marked as fuzzy"
                : "the translation is of another English text: " + Quoted(oldEnglish));
}

// The limit of the text's own note is checked without the English text.
void PairChecker::CheckLength()
{
    if (mPair.mEnglishParts.mNote == kNone)
        return;
    const std::size_t longest = LongestOf(NoteOf(mPair.mEnglish));
    const std::size_t length = CountCharacters(mText);
    if (longest && length > longest && !LongestOf(NoteOf(mPair.mTranslation)))
        Add(LintCheck::kTooLong, 0,
            "the text has " + Counted(length, "character") + ", above the limit of " +
                std::to_string(longest) + " of the English text");
}

// The check of the line reports a wrong format.
bool HasFormatProblem(const Parameters& places, const Parameter& place)
{
    const std::u16string_view format = places.Format(place);
    return !format.empty() && FormatProblem(format);
}

void PairChecker::CheckPlaces()
{
    if (mEnglish.find_first_of(u"^@") == kNone && mText.find_first_of(u"^@") == kNone)
        return;
    const Parameters english(mEnglish);
    const Parameters own(mText);
    bool reported[2][10] = {};
    for (const Parameter& place : english.mAll)
    {
        if (place.mKind == Parameter::kField)
            continue;
        bool& isReported = reported[place.mKind][place.mDigit - '0'];
        if (isReported)
            continue;
        isReported = true;
        const std::string written = UTF8Of(english.Written(place));
        const Parameter* const found = own.Find(place.mKind, place.mDigit);
        if (!found)
        {
            // The caret of ^B needs another one, or the two units are a bullet.
            const bool isBullet = written.size() == 3 && written[1] == 'B';
            Add(LintCheck::kPlaceLost, 0,
                written + " of the English text is missing" +
                    (isBullet ? " (write ^" + written + ")" : ""));
        }
        else if (own.Written(*found) != english.Written(place))
            Add(LintCheck::kPlaceChanged, found->mBegin,
                UTF8Of(own.Written(*found)) + " is " + written + " in English");
        else if (own.Format(*found) != english.Format(place) && !HasFormatProblem(own, *found))
            Add(LintCheck::kNumberFormat, found->mBegin,
                "the number format is " + Named(own.Format(*found)) + ", in English " +
                    Named(english.Format(place)));
    }
    for (const Parameter& place : own.mAll)
    {
        if (place.mKind == Parameter::kField || reported[place.mKind][place.mDigit - '0'])
            continue;
        reported[place.mKind][place.mDigit - '0'] = true;
        Add(LintCheck::kPlaceAdded, place.mBegin,
            "the English text has no " + UTF8Of(own.Written(place)));
    }
}

// The library takes the English text in place of a translation with other fields.
void PairChecker::CheckFields()
{
    if (mEnglish.find(u'%') == kNone && mText.find(u'%') == kNone)
        return;
    const bool isFormat = Parameters(mEnglish).HasFields();
    if (!isFormat && !Parameters(mText).HasFields())
        return;
    const std::vector<Field> english = isFormat ? FieldsOf(mEnglish) : std::vector<Field>();
    const std::vector<Field> own = FieldsOf(mText);
    const auto sorted = [](const std::vector<Field>& fields) {
        std::vector<std::u16string_view> written;
        written.reserve(fields.size());
        for (const Field& field : fields)
            written.push_back(field.mWritten);
        std::sort(written.begin(), written.end());
        return written;
    };
    const auto differs = std::mismatch(
        english.begin(), english.end(), own.begin(), own.end(),
        [](const Field& left, const Field& right) { return left.mWritten == right.mWritten; });
    const bool endsEnglish = differs.first == english.end();
    const bool endsOwn = differs.second == own.end();
    if (endsEnglish && endsOwn)
        return;
    const std::size_t at = endsOwn ? 0 : differs.second->mBegin;
    if (sorted(english) == sorted(own))
        Add(LintCheck::kPlaceOrder, at,
            UTF8Of(differs.second->mWritten) + " is before " + UTF8Of(differs.first->mWritten) +
                ": the order must be that of the English text");
    else if (own.size() < english.size())
        Add(LintCheck::kPlaceLost, at,
            UTF8Of(differs.first->mWritten) + " of the English text is missing");
    else if (own.size() > english.size() || endsEnglish)
        Add(LintCheck::kPlaceAdded, at,
            "the English text has no " + QuotedUnits(differs.second->mWritten) +
                (isFormat ? " there (write %% for a percent sign)" : ""));
    else
        Add(LintCheck::kPlaceChanged, at,
            QuotedUnits(differs.second->mWritten) + " is " + UTF8Of(differs.first->mWritten) +
                " in English");
}

void PairChecker::CheckMarkers()
{
    const auto hasYear = [](std::u16string_view text) {
        return hollin::FindMarker(text, hollin::kCopyYearMarker, 0) != kNone;
    };
    if (hasYear(mEnglish) && !hasYear(mText))
        Add(LintCheck::kMarkerLost, 0, "{{*CopyYear*}} of the English text is missing");
}

void PairChecker::CheckMnemonics()
{
    const std::vector<std::size_t> english = MnemonicsOf(mEnglish);
    const std::vector<std::size_t> own = MnemonicsOf(mText);
    if (english.size() == 1 && own.empty())
        Add(LintCheck::kMnemonics, 0,
            "the mnemonic " + QuotedUnits(mEnglish.substr(english[0], 2)) +
                " of the English text is missing");
    else if (english.size() <= 1 && own.size() > english.size())
        Add(LintCheck::kMnemonics, own.back(),
            QuotedUnits(mText.substr(own.back(), 2)) +
                " is a mnemonic that the English text lacks (write && for a sign)");
    if (mEnglish.find(kShortcut) != kNone && mText.find(kShortcut) == kNone)
        Add(LintCheck::kMnemonics, 0,
            "the blank and the backspace before the shortcut of the English text are missing");
}

void PairChecker::CheckBlanks()
{
    const std::u16string_view englishHead = mEnglish.substr(0, BlankHead(mEnglish));
    const std::u16string_view ownHead = mText.substr(0, BlankHead(mText));
    if (englishHead.size() == mEnglish.size())
        return; // nothing but blanks
    // The forms of line ends are the business of another check.
    const auto isOther = [](std::u16string_view left, std::u16string_view right) {
        return WithoutReturns(left) != WithoutReturns(right);
    };
    if (isOther(englishHead, ownHead))
        Add(LintCheck::kBlanks, 0,
            "the blanks at the start are " + NamedBlanks(ownHead) + ", in English " +
                NamedBlanks(englishHead));
    const std::u16string_view englishEnd = mEnglish.substr(mEnglish.size() - BlankEnd(mEnglish));
    const std::u16string_view ownEnd = mText.substr(mText.size() - BlankEnd(mText));
    if (ownHead.size() != mText.size() && isOther(englishEnd, ownEnd))
        Add(LintCheck::kBlanks, mText.size() - ownEnd.size(),
            "the blanks at the end are " + NamedBlanks(ownEnd) + ", in English " +
                NamedBlanks(englishEnd));
}

void PairChecker::CheckLineEnds()
{
    const std::string english = LineEnds(mEnglish).Names();
    const std::string own = LineEnds(mText).Names();
    if (own.empty() && !LineEnds(WithoutBlankEnds(mEnglish)).Names().empty())
        Add(LintCheck::kLineEnds, 0, "no line end of the English text is left");
    if (own != english && !own.empty())
        Add(LintCheck::kLineEnds, std::min(mText.find_first_of(u"\r\n"), mText.size()),
            "the line ends are " + own + ", in English " +
                (english.empty() ? "there is none" : english));
}

// Finds English texts with two translations.
class Consistency
{
public:
    void Check(const LintedFile& translation, const RawLine& line, const TextPair& pair,
               Findings* findings)
    {
        if (pair.English().empty() || !findings->Wants(LintCheck::kInconsistent))
            return;
        const auto [known, isNew] =
            mKnown.emplace(pair.English(), First{std::u16string(pair.Translation()), line.mNumber});
        if (isNew || known->second.mText == pair.Translation())
            return;
        findings->Add(LintCheck::kInconsistent, translation.mName, line, line.mText,
                      QuotedUnits(pair.English()) + " has another translation in line " +
                          std::to_string(known->second.mLine) + ": " +
                          QuotedUnits(known->second.mText));
    }

private:
    struct First
    {
        std::u16string mText;
        std::uint64_t mLine;
    };
    boost::unordered_flat_map<std::u16string, First> mKnown; // by English text
};

// A missing key is reported at the line of the key before it, where its text belongs.
void CheckMissing(const LintedFile& english, const LintedFile& translation, Findings* findings)
{
    std::uint64_t line = 1;
    for (const RawLine& text : english.mLines)
    {
        const std::string key = text.Key();
        const auto found = translation.mIndices.find(key);
        if (found != translation.mIndices.end())
        {
            line = translation.mLines[found->second].mNumber;
            continue;
        }
        const ExpandedText expanded(text);
        const std::u16string_view shown = Shown(expanded, TextParts(expanded.Units()));
        if (!shown.empty() && !NoteOf(expanded).HasFlag("no-missing-key"))
            findings->Add({LintCheck::kMissingKey, translation.mName, line, 1, key,
                           "there is no translation of " + Quoted(key) + ", in English " +
                               QuotedUnits(shown)});
    }
}
} // namespace

TextPair::TextPair(const RawLine& english, const RawLine& translation)
    : mEnglish(english), mTranslation(translation), mEnglishParts(mEnglish.Units()),
      mTranslationParts(mTranslation.Units())
{
}

std::u16string_view TextPair::English() const
{
    return Shown(mEnglish, mEnglishParts);
}

std::u16string_view TextPair::Translation() const
{
    return Shown(mTranslation, mTranslationParts);
}

bool TextPair::IsOutdated(std::string* oldEnglish) const
{
    if (mTranslationParts.mNote == kNone)
        return false;
    const Note note = NoteOf(mTranslation);
    const std::u16string_view english =
        std::u16string_view(mEnglish.Units())
            .substr(0, mEnglishParts.mNote == kNone ? kNone : mEnglishParts.mShownEnd);
    const bool isOld = note.mOldEnglish && *note.mOldEnglish != UTF8Of(english);
    if (isOld)
        *oldEnglish = *note.mOldEnglish;
    return isOld || note.IsFuzzy();
}

bool TextPair::IsUntranslated() const
{
    return Translation() == English() && HasWord(WithoutYear(English()));
}

void LintTranslation(const LintedFile& english, const LintedFile& translation, Findings* findings)
{
    Consistency consistency;
    for (const RawLine& line : translation.mLines)
    {
        const std::string key = line.Key();
        const auto found = english.mIndices.find(key);
        if (found == english.mIndices.end())
        {
            findings->Add(LintCheck::kObsoleteKey, translation.mName, line, line.mKey,
                          "no English text has the key " + Quoted(key));
            continue;
        }
        PairChecker checker(translation.mName, english.mLines[found->second], line, findings);
        checker.CheckAll();
        consistency.Check(translation, line, checker.Pair(), findings);
    }
    CheckMissing(english, translation, findings);
}
