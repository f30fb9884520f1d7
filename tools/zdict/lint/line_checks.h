// The checks that need no English text: of a file, of its lines and of each text.

#ifndef ZDICT_LINT_LINE_CHECKS_H
#define ZDICT_LINT_LINE_CHECKS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "files.h"
#include "images/code_page.h"
#include "lint/expanded_text.h"
#include "lint/findings.h"

struct LintOptions
{
    std::uint32_t mLongest = 0;       // characters of a text; 0 for no limit
    unsigned int mTargetCodePage = 0; // of the language; 0 for none
};

// The lines of a file, each key once with its last line, in the order of the last lines.
struct LintedFile
{
    std::string mName;
    std::vector<RawLine> mLines;
    boost::unordered_flat_map<std::string, std::size_t> mIndices; // of keys in mLines
    std::uint64_t mLastLine = 0;
    bool mIsTextForm = true;
};

// Checks a file of the text form. `lines` may be null; else it is filled in with the lines that
// loads use.
//
// Throws: Failure for an image.
void LintFile(const InputFile& file, CodePage codePage, const LintOptions& options,
              Findings* findings, LintedFile* lines);

#endif
