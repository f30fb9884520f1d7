// The checks of texts: their names, and the choice of some of them.

#ifndef ZDICT_LINT_CHECKS_H
#define ZDICT_LINT_CHECKS_H

#include <bitset>
#include <string>
#include <vector>

// In the order of --list-checks.
enum class LintCheck
{
    // Of a file and its lines
    kNotATextForm,
    kEncoding,
    kBadPrefix,
    kNoEquals,
    kTextBeforeQuote,
    kTextBehindQuote,
    kUnclosedEntry,
    kKeyEmpty,
    kKeyNotASCII,
    kKeyBlank,
    kKeyQuote,
    kKeyLength,
    kDuplicateKey,
    // Of one text
    kUnknownNotation,
    kUnknownCharacter,
    kUnknownMarker,
    kMarkerOrder,
    kPlaceGap,
    kPlaceRepeated,
    kNumberFormat,
    kTooLong,
    kUnencodable,
    // Of a translation beside the English text
    kMissingKey,
    kObsoleteKey,
    kOutdated,
    kEmptyTranslation,
    kUntranslated,
    kInconsistent,
    kPlaceLost,
    kPlaceAdded,
    kPlaceChanged,
    kPlaceOrder,
    kMarkerLost,
    kMnemonics,
    kBlanks,
    kLineEnds,
    kCount
};

enum class Severity
{
    kError,
    kWarning
};

struct CheckInfo
{
    LintCheck mCheck;
    const char* mName;
    Severity mSeverity;
    bool mNeedsEnglish;
    const char* mSummary; // a clause of at most 60 characters
};

const CheckInfo& InfoOf(LintCheck check);

// Returns whether a load refuses a text with such a finding, or loses a part of it.
bool StopsLoads(LintCheck check);
const char* WordOf(Severity severity);

// The checks that are switched on: all of them at first.
class CheckSet
{
public:
    CheckSet() { mOn.set(); }

    // The names of --no-check and of --only. If `only` isn't empty, it names the only checks.
    //
    // Throws: Failure for an unknown name.
    CheckSet(const std::vector<std::string>& only, const std::vector<std::string>& off);

    void Remove(LintCheck check) { mOn.reset(static_cast<std::size_t>(check)); }

    bool Has(LintCheck check) const { return mOn[static_cast<std::size_t>(check)]; }

private:
    std::bitset<static_cast<std::size_t>(LintCheck::kCount)> mOn;
};

std::vector<std::string> NamesOfChecks();

// Returns the table of all checks, a line each.
std::string ListOfChecks();

#endif
