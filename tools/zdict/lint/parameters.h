// The places of a text that a program fills with values: ^1, ^L2, ^F1@2.3zs@, @0 and %s.

#ifndef ZDICT_LINT_PARAMETERS_H
#define ZDICT_LINT_PARAMETERS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct Parameter
{
    enum Kind
    {
        kCaret, // ^1 to ^9, ^L1, ^F1 and ^B1: filled by digit, each digit once
        kAt,    // @0 to @9: filled by digit, wherever the digit is
        kField  // %s and so on: filled in order
    };
    Kind mKind;
    char16_t mDigit = 0; // of a caret and an at sign
    std::size_t mBegin = 0;
    std::size_t mEnd = 0; // of a caret's place, before its number format

    // The number format between the at signs after ^F1, and where it ends with its second sign.
    // Equal to mEnd if there is none.
    std::size_t mFormatEnd = 0;
    bool mIsFormatOpen = false; // the second at sign is missing
};

// In the order of the text.
struct Parameters
{
    explicit Parameters(std::u16string_view text);

    std::u16string_view mText;
    std::vector<Parameter> mAll; // fields too

    std::u16string_view Written(const Parameter& place) const
    {
        return mText.substr(place.mBegin, place.mEnd - place.mBegin);
    }
    std::u16string_view Format(const Parameter& place) const
    {
        return mText.substr(place.mEnd, place.mFormatEnd - place.mEnd);
    }

    // Returns the first place of a kind and a digit, or null.
    const Parameter* Find(Parameter::Kind kind, char16_t digit) const;

    // Returns whether the text is a format of printf. The sign of a percentage isn't a field, as
    // in 50% of.
    bool HasFields() const;
};

// Returns why a number format can't be used, or null.
const char* FormatProblem(std::u16string_view format);

// A field as the library reads a format: any letter after a percent sign, and 0 after the last.
struct Field
{
    std::u16string_view mWritten; // with all flags and sizes
    std::size_t mBegin;
};

// Returns the fields of a text that is a format of printf.
std::vector<Field> FieldsOf(std::u16string_view text);

// Returns where the marks of letters of menus are: & before any character but a blank, where && is
// one sign.
std::vector<std::size_t> MnemonicsOf(std::u16string_view text);

#endif
