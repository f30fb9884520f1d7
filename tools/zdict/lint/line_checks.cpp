#include "lint/line_checks.h"

#include <algorithm>

#include <hollin/Limits.h>
#include <hollin/Markers.h>
#include <platform/base/code_units.h>
#include <platform/control.h>
#include <win32/text.h>

#include "images/load.h"
#include "images/text_input.h"
#include "lint/form_judge.h"
#include "lint/parameters.h"
#include "lint/text_notes.h"
#include "lint/units.h"
#include "messages.h"

namespace
{
const std::size_t kNone = std::u16string::npos;
const std::size_t kLongestKey = hollin::kLongestRun;
const std::size_t kLongestText = hollin::kLongestRun / 2; // units
const std::size_t kMostMarkers = 20;                      // reported of a text

// The names of the markers, for a search of misspelt ones.
const std::u16string_view kMarkerNames[] = {u"mswindows", u"comment", u"copyyear"};

char16_t LowerCase(char16_t unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
}

// Returns whether a marker's name in any case follows an opening such as {{ or {* at the head.
bool LooksLikeMarker(std::u16string_view text)
{
    const std::size_t name = text.find_first_not_of(u"{* ");
    if (name == kNone || name < 2 || name > 6)
        return false;
    for (const std::u16string_view marker : kMarkerNames)
    {
        const std::u16string_view written = text.substr(name, marker.size());
        const auto isSame = [](char16_t left, char16_t right) { return LowerCase(left) == right; };
        if (std::equal(written.begin(), written.end(), marker.begin(), marker.end(), isSame))
            return true;
    }
    return false;
}

// Returns the length of a misspelt marker, with one closing brace or two.
std::size_t LengthOfMarker(std::u16string_view text)
{
    const std::size_t longest = 40;
    const std::size_t brace = text.substr(0, longest).find(u'}');
    if (brace == kNone)
        return 3;
    return brace + (text.substr(brace, 2) == u"}}" ? 2 : 1);
}

bool BeginsWithMarker(std::u16string_view text)
{
    const auto isHead = [&](std::string_view marker) {
        return text.size() >= marker.size() &&
               std::equal(marker.begin(), marker.end(), text.begin());
    };
    return isHead(hollin::kMSWindowsMarker) || isHead(hollin::kCommentMarker) ||
           isHead(hollin::kCopyYearMarker);
}

// Returns the place of the digit that the library fills: it looks for ^1 first, then for ^L1, ^F1
// and ^B1. REQUIRES: there is one.
const Parameter& FilledOf(const Parameters& places, char16_t digit)
{
    const auto rank = [&](const Parameter& place) {
        const std::u16string_view written = places.Written(place);
        return written.size() == 2 ? 0 : std::u16string_view(u"LFB").find(written[1]) + 1;
    };
    const Parameter* filled = nullptr;
    for (const Parameter& place : places.mAll)
    {
        if (place.mKind == Parameter::kCaret && place.mDigit == digit &&
            (!filled || rank(place) < rank(*filled)))
            filled = &place;
    }
    return *filled;
}

// Checks the lines of one file.
class LineChecker
{
public:
    LineChecker(const std::string& file, const LintOptions& options, Findings* findings)
        : mFile(file), mOptions(options), mFindings(findings)
    {
    }

    // Returns whether loads use the line.
    bool CheckLine(const RawLine& line);

private:
    void Add(LintCheck check, std::size_t offset, const std::string& message)
    {
        mFindings->Add(check, mFile, *mLine, offset, message);
    }
    // `unit` is an offset in the expanded text.
    void AddInText(LintCheck check, std::size_t unit, const std::string& message)
    {
        Add(check, mText.OffsetOf(unit), message);
    }

    void CheckQuotes();
    bool CheckKey();
    void CheckDuplicate();
    bool CheckLength(const TextParts& parts);
    void CheckNotations(const TextParts& parts);
    void CheckMarkers(const TextParts& parts);
    void CheckPlaces(const TextParts& parts);
    void CheckCharacters(const TextParts& parts);

    const std::string& mFile;
    const LintOptions& mOptions;
    Findings* const mFindings;
    const RawLine* mLine = nullptr;
    ExpandedText mText; // of the line
    boost::unordered_flat_map<std::string, std::uint64_t> mKeyLines;
    std::vector<char> mBytes;
};

bool LineChecker::CheckLine(const RawLine& line)
{
    mLine = &line;
    CheckQuotes();
    if (line.mMalformed != kNone)
        Add(LintCheck::kEncoding, line.mMalformed,
            win32::GetACP() == win32::kCodePageUTF8 && !line.mIsUTF16
                ? "the bytes aren't UTF-8 (see --code-page)"
                : "it is no character");
    if (line.mHasBadPrefix)
    {
        Add(LintCheck::kBadPrefix, line.mEntry, "the key begins with $, but not with $$$");
        return false;
    }
    if (!CheckKey())
        return false;
    CheckDuplicate();
    mText.Set(line);
    const TextParts parts(mText.Units());
    if (!CheckLength(parts))
        return false;
    CheckNotations(parts);
    CheckMarkers(parts);
    CheckPlaces(parts);
    CheckCharacters(parts);
    return true;
}

void LineChecker::CheckQuotes()
{
    const RawLine& line = *mLine;
    if (!line.mOpens)
        return;
    const std::u16string_view before = line.View(0, line.mEntry - 1);
    const std::size_t head = BlankHead(before);
    if (head != before.size())
        Add(LintCheck::kTextBeforeQuote, head,
            "the text before the first quote is lost: " + QuotedUnits(before.substr(head)));
    if (!line.mCloses)
    {
        const bool isEscaped = line.mEntry < line.mUnits.size() && line.mUnits.back() == '"';
        Add(LintCheck::kUnclosedEntry, line.mEntry - 1,
            isEscaped ? "the closing quote is missing: a backslash is before the last one"
                      : "the closing quote is missing");
        return;
    }
    const std::u16string_view behind = line.View(line.mEntryEnd + 1, line.mUnits.size());
    const std::size_t start = BlankHead(behind);
    if (start != behind.size())
        Add(LintCheck::kTextBehindQuote, line.mEntryEnd + 1 + start,
            "the text behind the closing quote is lost: " + QuotedUnits(behind.substr(start)));
}

bool LineChecker::CheckKey()
{
    const RawLine& line = *mLine;
    const std::u16string_view key = line.View(line.mKey, line.mKeyEnd);
    if (key.empty())
    {
        Add(LintCheck::kKeyEmpty, line.mKey, "the key is empty");
        return false;
    }
    if (key.size() > kLongestKey)
    {
        Add(LintCheck::kKeyLength, line.mKey,
            "the key is longer than " + Counted(kLongestKey, "byte"));
        return false;
    }
    const auto beyond =
        std::find_if(key.begin(), key.end(), [](char16_t unit) { return unit >= 0x80; });
    if (beyond != key.end())
    {
        Add(LintCheck::kKeyNotASCII, line.mKey + static_cast<std::size_t>(beyond - key.begin()),
            "the key isn't ASCII");
        return false;
    }
    const auto blank = std::find_if(key.begin(), key.end(), IsBlank);
    if (blank != key.end())
        Add(LintCheck::kKeyBlank, line.mKey + static_cast<std::size_t>(blank - key.begin()),
            "the key " + QuotedUnits(key) + " has a blank");
    const std::size_t quote = key.find_first_of(u"\"'`");
    if (quote != kNone)
        Add(LintCheck::kKeyQuote, line.mKey + quote,
            "the key " + QuotedUnits(key) + " has a quote");
    if (!line.mHasEquals)
        Add(LintCheck::kNoEquals, line.mEntry, "without a =, all of it is a key");
    return true;
}

void LineChecker::CheckDuplicate()
{
    if (!mFindings->Wants(LintCheck::kDuplicateKey))
        return;
    const auto [earlier, isNew] = mKeyLines.emplace(mLine->Key(), mLine->mNumber);
    if (isNew)
        return;
    Add(LintCheck::kDuplicateKey, mLine->mKey,
        "it replaces the text of " + Quoted(earlier->first) + " in line " +
            std::to_string(earlier->second));
    earlier->second = mLine->mNumber;
}

bool LineChecker::CheckLength(const TextParts& parts)
{
    if (mText.Units().size() > kLongestText)
    {
        Add(LintCheck::kTooLong, mLine->mText,
            "the text is longer than " + Counted(kLongestText, "character"));
        return false;
    }
    std::size_t longest = mOptions.mLongest;
    if (parts.mNote != kNone && mLine->mUnits.find(u"max-length") != kNone)
    {
        const std::size_t own = LongestOf(NoteOf(mText));
        longest = own ? own : longest;
    }
    const std::size_t length = CountCharacters(
        std::u16string_view(mText.Units()).substr(parts.mShown, parts.mShownEnd - parts.mShown));
    if (longest && length > longest)
        AddInText(LintCheck::kTooLong, parts.mShown,
                  "the text has " + Counted(length, "character") + ", above the limit of " +
                      std::to_string(longest));
    return true;
}

// Nobody sees a note, in which a path may have a backslash.
void LineChecker::CheckNotations(const TextParts& parts)
{
    for (const UnknownNotation& unknown : mText.Unknown())
    {
        if (unknown.mOffset >= mText.OffsetOf(parts.mShownEnd))
            continue;
        const bool isCharacter = unknown.mRaw[0] == '#';
        if (isCharacter)
            Add(LintCheck::kUnknownCharacter, unknown.mOffset,
                QuotedUnits(unknown.mRaw) + " is no character and stays in the text");
        else if (unknown.mRaw.size() == 1)
            Add(LintCheck::kUnknownNotation, unknown.mOffset,
                QuotedUnits(unknown.mRaw) + " at the end is no notation; write it twice");
        else
            Add(LintCheck::kUnknownNotation, unknown.mOffset,
                QuotedUnits(unknown.mRaw) + " is no notation and stays in the text");
    }
}

void LineChecker::CheckMarkers(const TextParts& parts)
{
    const std::u16string_view text = mText.Units();
    std::size_t reported = 0;
    for (std::size_t at = text.find(u'{'); at < parts.mShownEnd && reported < kMostMarkers;
         at = text.find(u'{', at))
    {
        const std::u16string_view rest = text.substr(at);
        const bool isMarker = BeginsWithMarker(rest);
        const bool isMisspelt = !isMarker && (rest.substr(0, 3) == u"{{*" || LooksLikeMarker(rest));
        if (isMisspelt)
        {
            AddInText(LintCheck::kUnknownMarker, at,
                      QuotedUnits(rest.substr(0, LengthOfMarker(rest))) +
                          " is no marker and stays in the text");
            ++reported;
        }
        const std::size_t name = rest.find_first_not_of(isMarker ? u"{" : u"{* ");
        at += isMarker || isMisspelt ? std::min(name, rest.size()) : 1;
    }
    // Look-ups apply the marker of a platform before that of a note.
    const std::size_t comment = hollin::FindMarker(text, hollin::kCommentMarker, 0);
    if (comment < parts.mVariantEnd)
        AddInText(LintCheck::kMarkerOrder, parts.mVariantEnd,
                  "{{*MSWindows*}} in the note drops the text before it");
    const std::size_t second = hollin::FindMarker(text, hollin::kMSWindowsMarker, parts.mShown);
    if (parts.mShown && second < parts.mShownEnd)
        AddInText(LintCheck::kMarkerOrder, second, "a second {{*MSWindows*}} stays in the text");
}

void LineChecker::CheckPlaces(const TextParts& parts)
{
    const std::u16string_view text =
        std::u16string_view(mText.Units()).substr(parts.mShown, parts.mShownEnd - parts.mShown);
    if (text.find(u'^') == kNone)
        return;
    const Parameters places(text);
    char16_t next = '1';
    while (next <= '9' && places.Find(Parameter::kCaret, next))
        ++next;
    for (const Parameter& place : places.mAll)
    {
        if (place.mKind != Parameter::kCaret)
            continue;
        const std::string written = UTF8Of(places.Written(place));
        const std::size_t unit = parts.mShown + place.mBegin;
        const Parameter& filled = FilledOf(places, place.mDigit);
        if (&place != &filled)
            AddInText(LintCheck::kPlaceRepeated, unit,
                      written == UTF8Of(places.Written(filled))
                          ? written + " is there twice: only the first is filled"
                          : written + " isn't filled, since " + UTF8Of(places.Written(filled)) +
                                " is");
        else if (place.mDigit > next)
            AddInText(LintCheck::kPlaceGap, unit,
                      written + " isn't filled, since there is no ^" +
                          std::string(1, static_cast<char>(next)));
        const std::u16string_view format = places.Format(place);
        const char* const problem = format.empty() ? nullptr : FormatProblem(format);
        if (problem)
            AddInText(LintCheck::kNumberFormat, unit,
                      "the number format " + QuotedUnits(format) + " is wrong: " + problem);
    }
}

void LineChecker::CheckCharacters(const TextParts& parts)
{
    const std::u16string_view shown =
        std::u16string_view(mText.Units()).substr(parts.mShown, parts.mShownEnd - parts.mShown);
    const bool isASCII =
        std::all_of(shown.begin(), shown.end(), [](char16_t unit) { return unit < 0x80; });
    if (isASCII || !mOptions.mTargetCodePage || !mFindings->Wants(LintCheck::kUnencodable))
        return;
    for (std::size_t at = 0; at < shown.size();)
    {
        const bool isPair = at + 1 < shown.size() && platform::IsHighSurrogate(shown[at]) &&
                            platform::IsLowSurrogate(shown[at + 1]);
        const std::size_t length = isPair ? 2 : 1;
        const unsigned short units[] = {shown[at], isPair ? shown[at + 1] : char16_t(0)};
        char bytes[8];
        int isReplaced = 0;
        // The library carries the increment through each code page.
        const bool isCarried = shown[at] == 0x2206 || shown[at] < 0x80;
        if (!isCarried &&
            (!win32::WideCharToMultiByte(mOptions.mTargetCodePage, win32::kNoBestFitChars, units,
                                         static_cast<int>(length), bytes, sizeof bytes, nullptr,
                                         &isReplaced) ||
             isReplaced))
        {
            AddInText(LintCheck::kUnencodable, parts.mShown + at,
                      "code page " + std::to_string(mOptions.mTargetCodePage) + " lacks " +
                          QuotedUnits(shown.substr(at, length)));
            return; // one of a text
        }
        at += length;
    }
}

// Adds the findings of the whole text, whose lines are read.
void CheckEnd(const std::string& file, const TextScanner& scanner, std::uint64_t lastLine,
              Findings* findings)
{
    if (scanner.NulLine())
        findings->Add({LintCheck::kEncoding, file, scanner.NulLine(), scanner.NulColumn(),
                       std::string(),
                       std::string("a NUL ends the ") + (scanner.NulEndsText() ? "text" : "line") +
                           " (UTF-16 without a byte-order mark?)"});
    else if (scanner.EndsInsideUnit())
        findings->Add({LintCheck::kEncoding, file, std::max<std::uint64_t>(lastLine, 1), 1,
                       std::string(), "the text ends inside a character"});
}

void Keep(RawLine line, LintedFile* lines)
{
    const auto [index, isNew] = lines->mIndices.emplace(line.Key(), lines->mLines.size());
    if (isNew)
        lines->mLines.push_back(std::move(line));
    else
        lines->mLines[index->second] = std::move(line);
}
} // namespace

void LintFile(const InputFile& file, CodePage codePage, const LintOptions& options,
              Findings* findings, LintedFile* lines)
{
    if (FormOf(file, codePage).mForm == hollin::ImageReport::kBinary)
        throw Failure{kUnusable, file.mName, "it is an image, not a text (see dump)"};
    const TextBytes text(file, codePage);
    platform::SetActiveCodePage(text.mCodePage);
    TextScanner scanner(text.mBytes, text.mSize);
    LineChecker checker(file.mName, options, findings);
    FormJudge judge;
    const std::size_t first = findings->All().size();
    std::uint64_t lastLine = 0;
    const bool mayFindInPlainLines = lines || findings->Wants(LintCheck::kDuplicateKey) ||
                                     options.mLongest || options.mTargetCodePage;
    RawLine line;
    while (true)
    {
        if (!mayFindInPlainLines)
            judge.AddFit(scanner.SkipPlainLines());
        if (!scanner.Next(&line))
            break;
        lastLine = line.mNumber;
        judge.Add(line);
        const bool isUsed = checker.CheckLine(line);
        if (isUsed && lines)
            Keep(line, lines);
    }
    CheckEnd(file.mName, scanner, lastLine, findings);
    // Lines that NULs cut aren't judged: the encoding is the mistake.
    const std::string otherForm = scanner.NulLine() ? std::string() : judge.OtherForm();
    if (!otherForm.empty() && findings->Wants(LintCheck::kNotATextForm))
    {
        findings->CutTo(first);
        findings->Add({LintCheck::kNotATextForm, file.mName, 1, 1, std::string(),
                       "it isn't lines of key=text: " + otherForm});
    }
    if (!lines)
        return;
    lines->mName = file.mName;
    lines->mLastLine = lastLine;
    lines->mIsTextForm = otherForm.empty();
}
