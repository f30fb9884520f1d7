#include "lint/checks.h"

#include <algorithm>
#include <iterator>

#include "messages.h"

namespace
{
const Severity kError = Severity::kError;
const Severity kWarning = Severity::kWarning;
const std::size_t kCheckCount = static_cast<std::size_t>(LintCheck::kCount);

const CheckInfo kChecks[] = {
    {LintCheck::kNotATextForm, "not-a-text-form", kError, false,
     "the file has another form, such as PO or JSON"},
    {LintCheck::kEncoding, "encoding", kError, false,
     "bytes that are no characters, or a NUL, which ends the line"},
    {LintCheck::kBadPrefix, "bad-prefix", kError, false, "the key begins with $, but not with $$$"},
    {LintCheck::kNoEquals, "no-equals", kWarning, false, "without a =, the whole line is a key"},
    {LintCheck::kTextBeforeQuote, "text-before-quote", kError, false,
     "the text before the first quote is lost"},
    {LintCheck::kTextBehindQuote, "text-behind-quote", kError, false,
     "the text behind the closing quote is lost"},
    {LintCheck::kUnclosedEntry, "unclosed-entry", kError, false, "the closing quote is missing"},
    {LintCheck::kKeyEmpty, "key-empty", kError, false, "the key is empty"},
    {LintCheck::kKeyNotASCII, "key-not-ascii", kError, false,
     "the key has a character beyond ASCII, so no look-up finds it"},
    {LintCheck::kKeyBlank, "key-blank", kWarning, false, "the key has a blank"},
    {LintCheck::kKeyQuote, "key-quote", kWarning, false, "the key has a quote"},
    {LintCheck::kKeyLength, "key-length", kError, false,
     "the key is longer than an image can hold"},
    {LintCheck::kDuplicateKey, "duplicate-key", kWarning, false,
     "an earlier line has the key; the later text counts"},
    {LintCheck::kUnknownNotation, "unknown-notation", kWarning, false,
     "^x or \\x that is no notation and stays in the text"},
    {LintCheck::kUnknownCharacter, "unknown-character", kWarning, false,
     "#{name} that is no character and stays in the text"},
    {LintCheck::kUnknownMarker, "unknown-marker", kError, false,
     "a marker is misspelt and stays in the text"},
    {LintCheck::kMarkerOrder, "marker-order", kError, false,
     "{{*MSWindows*}} in a note, or a second one in the text"},
    {LintCheck::kPlaceGap, "place-gap", kWarning, false,
     "^2 without ^1 and so on: the places after a gap aren't filled"},
    {LintCheck::kPlaceRepeated, "place-repeated", kError, false,
     "the place is there twice, and only the first is filled"},
    {LintCheck::kNumberFormat, "number-format", kError, false,
     "the number format of ^F1@...@ is wrong, or changed"},
    {LintCheck::kTooLong, "too-long", kError, false,
     "the text is above --max-length, its note's max-length or 32767"},
    {LintCheck::kUnencodable, "unencodable", kWarning, false,
     "the code page of the language lacks a character"},
    {LintCheck::kMissingKey, "missing-key", kWarning, true, "an English text has no translation"},
    {LintCheck::kObsoleteKey, "obsolete-key", kWarning, true, "no English text has the key"},
    {LintCheck::kOutdated, "outdated", kWarning, true,
     "the translation is fuzzy, or of an older English text"},
    {LintCheck::kEmptyTranslation, "empty-translation", kError, true,
     "the translation is empty, so that nothing is shown"},
    {LintCheck::kUntranslated, "untranslated", kWarning, true,
     "the translation is the English text"},
    {LintCheck::kInconsistent, "inconsistent", kWarning, true,
     "one English text has two translations"},
    {LintCheck::kPlaceLost, "place-lost", kError, true, "a place of the English text is missing"},
    {LintCheck::kPlaceAdded, "place-added", kError, true, "the English text has no such place"},
    {LintCheck::kPlaceChanged, "place-changed", kError, true,
     "a place has another type than in English"},
    {LintCheck::kPlaceOrder, "place-order", kError, true,
     "%s and %d are in another order than in English"},
    {LintCheck::kMarkerLost, "marker-lost", kWarning, true,
     "{{*CopyYear*}} of the English text is missing"},
    {LintCheck::kMnemonics, "mnemonics", kWarning, true,
     "English has one mnemonic (&) or a shortcut, and this text not"},
    {LintCheck::kBlanks, "blanks", kWarning, true,
     "other blanks at the start or the end than in English"},
    {LintCheck::kLineEnds, "line-ends", kWarning, true, "other line ends than in English"},
};
static_assert(std::size(kChecks) == kCheckCount, "a row for each check");

const CheckInfo& Named(const std::string& name)
{
    const auto found = std::find_if(std::begin(kChecks), std::end(kChecks),
                                    [&](const CheckInfo& info) { return name == info.mName; });
    if (found == std::end(kChecks))
        throw Failure{kUnusable, std::string(),
                      "there is no check '" + name + "' (see zdict lint --list-checks)"};
    return *found;
}
} // namespace

const CheckInfo& InfoOf(LintCheck check)
{
    return kChecks[static_cast<std::size_t>(check)];
}

bool StopsLoads(LintCheck check)
{
    switch (check)
    {
    case LintCheck::kNotATextForm:
    case LintCheck::kEncoding:
    case LintCheck::kBadPrefix:
    case LintCheck::kKeyEmpty:
    case LintCheck::kKeyNotASCII:
    case LintCheck::kKeyLength:
    case LintCheck::kTooLong:
        return true;
    default:
        return false;
    }
}

const char* WordOf(Severity severity)
{
    return severity == Severity::kError ? "error" : "warning";
}

CheckSet::CheckSet(const std::vector<std::string>& only, const std::vector<std::string>& off)
{
    if (only.empty())
        mOn.set();
    for (const std::string& name : only)
        mOn.set(static_cast<std::size_t>(Named(name).mCheck));
    for (const std::string& name : off)
        mOn.reset(static_cast<std::size_t>(Named(name).mCheck));
}

std::vector<std::string> NamesOfChecks()
{
    std::vector<std::string> names;
    for (const CheckInfo& info : kChecks)
        names.push_back(info.mName);
    return names;
}

std::string ListOfChecks()
{
    std::string list;
    for (const CheckInfo& info : kChecks)
    {
        const std::string name = info.mName;
        const std::string word = WordOf(info.mSeverity);
        list.append(name).append(20 - name.size(), ' ');
        list.append(word).append(9 - word.size(), ' ');
        list.append(info.mSummary).append("\n");
    }
    return list;
}
