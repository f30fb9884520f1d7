// Decides whether a file has the text form at all.

#ifndef ZDICT_LINT_FORM_JUDGE_H
#define ZDICT_LINT_FORM_JUDGE_H

#include <cstddef>
#include <string>

#include "lint/text_scanner.h"

// A reader of the text form finds an entry in any line of any file, so that the lines have to be
// judged together: most of them fit if the file has the form. A line fits if it has the prefix $$$,
// or a = directly behind a key.
class FormJudge
{
public:
    void Add(const RawLine& line);
    // Plain lines, which have a prefix.
    void AddFit(std::size_t lines)
    {
        mLines += lines;
        mPrefixed += lines;
    }

    // Returns the other form that the file seems to have, as a clause, or an empty text if the
    // file has the text form.
    std::string OtherForm() const;

private:
    std::size_t mLines = 0;
    std::size_t mUnfit = 0;
    std::size_t mForeign = 0; // unfit ones with a sign of another form
    std::size_t mPrefixed = 0;
    std::size_t mOfPO = 0;
    std::size_t mSections = 0; // of INI files
    char16_t mFirst = 0;       // character of the file that isn't blank
};

#endif
