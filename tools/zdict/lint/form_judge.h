// Decides whether a file has the text form at all.

#ifndef ZDICT_LINT_FORM_JUDGE_H
#define ZDICT_LINT_FORM_JUDGE_H

#include <cstddef>
#include <string>

#include "lint/text_scanner.h"

// A reader of the text form finds an entry in any line of any file, so that the lines have to be
// judged together: most of them fit if the file has the form.
class FormJudge
{
public:
    void Add(const RawLine& line);
    void AddFit(std::size_t lines) { mLines += lines; } // that fit

    // Returns the other form that the file seems to have, as a clause, or an empty text if the
    // file has the text form.
    std::string OtherForm() const;

private:
    std::size_t mLines = 0;
    std::size_t mUnfit = 0;
    std::size_t mOfPO = 0;
    char16_t mFirst = 0; // character of the file that isn't blank
};

#endif
