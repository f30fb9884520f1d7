// What the checks have found.

#ifndef ZDICT_LINT_FINDINGS_H
#define ZDICT_LINT_FINDINGS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lint/checks.h"
#include "lint/text_scanner.h"

struct Finding
{
    LintCheck mCheck;
    std::string mFile;
    std::uint64_t mLine;   // from 1
    std::uint64_t mColumn; // in characters from 1
    std::string mKey;      // empty if the finding is not of one text
    std::string mMessage;  // a clause, in UTF-8
};

class Findings
{
public:
    explicit Findings(const CheckSet& checks) : mChecks(checks) {}

    bool Wants(LintCheck check) const { return mChecks.Has(check); }

    // Adds a finding, unless its check is off.
    void Add(Finding finding);

    // Adds a finding at an offset of a line. The note of the line may switch the check off.
    void Add(LintCheck check, const std::string& file, const RawLine& line, std::size_t offset,
             const std::string& message);

    // Keeps the first findings only.
    void CutTo(std::size_t count);

    // Sorts the findings from `first` on by line and column.
    void SortFrom(std::size_t first);

    const std::vector<Finding>& All() const { return mAll; }
    std::size_t CountOf(Severity severity) const;

private:
    CheckSet mChecks;
    std::vector<Finding> mAll;
};

#endif
