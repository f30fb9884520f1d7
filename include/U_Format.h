// Messages with places for values, and numbers as text.
//
// A place in a message is a caret, a type letter or none, and a digit from 1 to
// 9 that says which argument fills it, so a translation may move the places:
//
//   ^1   a string
//   ^L1  an integer; one of 32 bits as "%i" prints it
//   ^B1  an integer of 64 bits
//   ^F1  a number or an integer, without trailing zeros and with at most two
//        decimals; or as the text between two "@" behind it tells: "^F1@2.3zs@"
//        asks for two digits in front of the decimal mark at least (1), three
//        decimals (2), and options by the letters below; with marks of several
//        bytes it may come out longer than by U_FormatNum
//
// What begins with no digit between the "@" asks for options alone: ".3" says
// nothing. An "@" that no second one follows is dropped, and the number is
// written with two decimals and no options. That, and each letter that is no
// option, once for each "@" pair, is reported as a warning at 0x17001B from inside the
// call, so logging callbacks and an alert may run in it.
//
// A digit is filled at its first place only. A digit that no place has, or no
// argument, ends the work: later places stay as they are. A message that is a ZString
// writes "^^1".
//
// A value that holds "^2" is itself filled if the message has "^2" too. The value of the
// highest digit is filled last and stays as it is: give that digit to a text from
// outside, such as a file's name. Two such texts take
// krobase::utility::ReplaceInString, which fills "@0" to "@9" in one pass.
//
// Numbers are written with the marks of the user's locale. Options, as letters
// and as the bits of krobase::utility::NumberFlags:
//
//   n        1   "." and "," instead of the user's marks
//   (space)  2   pad the integer part with spaces instead of zeros
//   z        4   no trailing zeros in the fraction
//   s        8   group the integer part, pad included, in threes
//   +       16   "+" in front of a number that isn't negative
//   p       32   a space in front of a number that isn't negative
//
// Multibyte text is in the active code page. Text for a fixed buffer is cut at a
// character, which is no error. A null pointer is a bad parameter (3) unless told
// otherwise. All operations may be called on any thread.

#ifndef U_FORMAT_H
#define U_FORMAT_H

#include <cstddef>
#include <type_traits>

#include <krobase/format.h>

#include "U_Types.h"

// One argument of a message. Strings aren't copied.
class U_FormatArgument
{
public:
    enum Kind
    {
        kMultibyte,
        kUTF16,
        kInt32,
        kInt64,
        kDouble
    };

    U_FormatArgument(const char* text) : mKind(kMultibyte), mMultibyte(text) {}
    U_FormatArgument(const U_u16* text) : mKind(kUTF16), mUTF16(text) {}
    U_FormatArgument(int value) : mKind(kInt32), mInteger(value) {}
    U_FormatArgument(unsigned int value) : mKind(kInt32), mInteger(value) {}
    U_FormatArgument(long value) : mKind(kLong), mInteger(value) {}
    U_FormatArgument(unsigned long value) : mKind(kLong), mInteger(static_cast<U_i64>(value)) {}
    U_FormatArgument(U_i64 value) : mKind(kInt64), mInteger(value) {}
    U_FormatArgument(U_u64 value) : mKind(kInt64), mInteger(static_cast<U_i64>(value)) {}
    U_FormatArgument(double value) : mKind(kDouble), mDouble(value) {}

    Kind mKind;
    union
    {
        const char* mMultibyte; // zero-terminated
        const U_u16* mUTF16;    // zero-terminated
        U_i64 mInteger;
        double mDouble;
    };

private:
    static const Kind kLong = sizeof(long) == sizeof(int) ? kInt32 : kInt64;
};

// Fill format into out with count arguments. These two are what the library
// exports; the operations below are templates over them that make the array of
// what they are given. A string may be multibyte or UTF-16 in either form. Return
// 0; 3 for an argument of another kind than its place, such as a number for a
// string; or the code of a failure. The first then leaves out
// untouched, the second makes it empty, whatever its size. The second writes at
// most 1,023 bytes and a terminator, and no more than size bytes unless that is 0.
U_EXPORT U_Status Up_SubString(U_UTF16String& out, const U_UTF16String& format,
                               const U_FormatArgument* arguments, std::size_t count);
U_EXPORT U_Status Up_SubString(char* out, unsigned int size, const char* format,
                               const U_FormatArgument* arguments, std::size_t count);

// What the templates share: the arguments as an array.
template <class... Arguments> struct U_FormatPack
{
    static_assert((std::is_constructible<U_FormatArgument, const Arguments&>::value && ...),
                  "an argument of a message is a const char*, a const U_u16*, an integer or a "
                  "floating-point number");

    static const std::size_t kCount = sizeof...(Arguments);

    explicit U_FormatPack(const Arguments&... arguments) : mArguments{arguments..., 0} {}

    U_FormatArgument mArguments[kCount + 1]; // an array isn't empty
};

// Fills format into out, which is left untouched unless the result is 0.
template <class... Arguments>
U_Status U_SubString(U_UTF16String& out, const U_UTF16String& format, const Arguments&... arguments)
{
    const U_FormatPack<Arguments...> pack(arguments...);
    return Up_SubString(out, format, pack.mArguments, pack.kCount);
}

// The same into a buffer of size bytes; 0 stands for 1,024. A failure leaves the
// empty text.
template <class... Arguments>
U_Status U_SubString(char* out, unsigned int size, const char* format,
                     const Arguments&... arguments)
{
    const U_FormatPack<Arguments...> pack(arguments...);
    return Up_SubString(out, size, format, pack.mArguments, pack.kCount);
}

// The same as a string; a failure is thrown as an int.
template <class... Arguments>
U_UTF16String U_SubString16(const U_UTF16String& format, const Arguments&... arguments)
{
    U_UTF16String out;
    if (const U_Status failure = U_SubString(out, format, arguments...))
        throw failure;
    return out;
}

// Resolves a message (U_ZString.h) for the operations above. If the translation has other
// places than the English text, such as ^L1 for ^1, the result is the English text: the
// values that suit the English text suit the result. The order of the places, a repeated
// place and the text between two "@" may differ. A message without such places is compared
// by @0 to @9, the places of krobase::utility::ReplaceInString. Without an English text the
// translation is the result. Throws as U_ZStringToUTF16String does.
U_EXPORT U_UTF16String U_ZStringToFormat(const char* zstring);

// Writes a number into out, 32 bytes: at least integerDigits digits in front of
// the decimal mark, as far as they have room, and so many decimals. If digits and
// decimals are 23 characters or more, or marks of several bytes leave no room,
// the number is written as "%e" does and options z and s do nothing. Infinities
// are "inf" and what is no number "nan", never padded. Returns 0, 3 for a null
// out, or the code of a failed conversion with out untouched.
U_EXPORT int U_FormatNum(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                         char* out);

// Reads a decimal number as atof does, but never by the C library's locale: with
// bit 0 of flags set with the mark ".", else the first 31 bytes with the user's
// marks. No mark of thousands is passed over. Without a number *out is 0. Returns 0, or the
// code of a failed conversion with *out untouched.
U_EXPORT int U_ScanNum(char* text, char flags, double* out);

// Put the user's marks in the place of "." and "," in text, or back, wherever
// they stand. The result is cut at 255 bytes: text has room for 256. Return 0, or
// the code of a failed conversion with the text untouched.
U_EXPORT int U_InternationalizeNum(char* text);
U_EXPORT int U_DeInternationalizeNum(char* text);

// The user's marks as birth found them, "." and "," for those that aren't one
// byte long; 0 before the first birth.
U_EXPORT char U_DecimalChar();
U_EXPORT char U_ThousandsChar();

// Stores the value of a hexadecimal digit and 1 for valid, or 0 for both. Either
// pointer may be null. Always 0.
U_EXPORT int U_HexChar2Nibble(char c, unsigned char* value, unsigned char* valid);

// A size in bytes for people: "0 KB", "12 bytes", "1.5 MB". Whole units are rounded down,
// tenths to the nearest; never into the next unit. out has room for 256 bytes and
// is the result; a null out does nothing. Throw an int as U_UTF16ToMBString does, and
// without memory std::bad_alloc or the int 4; what out holds then means nothing.
U_EXPORT char* U_LongFormatBytes(unsigned long long size, char* out);
U_EXPORT U_UTF16String U_LongFormatBytes(unsigned long long size);

#endif
