// The form of a number, told behind its place in a message.

#ifndef TEXT_NUMBER_FORM_H
#define TEXT_NUMBER_FORM_H

#include <cstddef>

#include "U_Types.h"

// How a number is written.
struct NumberForm
{
    unsigned int mFlags;
    int mIntegerDigits;
    int mDecimals;
    std::size_t mLength; // in the text
};

// The form that begins at start, or what holds without one. A "@" that
// no second one follows is reported and taken out, and asks for a number without
// options.
NumberForm ReadNumberForm(const U_UTF16String& work, std::size_t start);

#endif
