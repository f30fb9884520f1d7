// Messages with placeholders, and numbers as text.
//
//     U_UTF16String format = U_ZStringToFormat("$$$/Host/Copied=^^L2 files to ^^1 in ^^F3 s");
//     U_UTF16String text = U_SubString16(format, "Backup", 12, 3.5);
//     // "12 files to Backup in 3.5 s"
//     char size[256];
//     U_LongFormatBytes(1536 * 1024, size); // "1.5 MB"
//
// A placeholder is a caret, a type letter or none, and a digit from 1 to 9. The digit is the
// number of the argument, so a translation may change the order. A message that is a ZString
// doubles the caret.
//
//   ^1   a string
//   ^L1  an integer; an argument of 32 bits is written as "%i" does
//   ^B1  an integer of 64 bits
//   ^F1  a number or an integer, with at most two decimals and no trailing zeros
//
// The digits are filled from 1 upwards, each at its first placeholder only. The work ends at
// the first digit without a placeholder or an argument. Later placeholders stay in the text.
//
// Values that look like placeholders: if a value holds "^2" and the message has "^2" too, that
// part of the value is filled. The value of the highest digit is filled last and is kept as it
// is, so use the highest digit for a text from outside, such as a file's name. For two such
// texts use krobase::utility::ReplaceInString, which fills "@0" to "@9" in one pass.
//
// A number specification may follow ^F1 between two "@": "^F1@2.3zs@" writes at least two
// digits before the decimal mark and three decimals, with the options z and s. The defaults are
// 1 and 2. A specification that does not begin with a digit sets options only: ".3" sets no
// decimals. With marks of several bytes the number may be longer than the one that
// U_FormatNum writes.
//
// Numbers are written with the marks of the user's locale. Options, as letters of a
// specification and as the bits of krobase::utility::NumberFlags:
//
//   n        1   "." and "," instead of the user's marks
//   (space)  2   pad the integer part with spaces instead of zeros
//   z        4   no trailing zeros in the fraction
//   s        8   group the integer part, with its pad, in threes
//   +       16   "+" before a number that is not negative
//   p       32   a space before a number that is not negative
//
// Multibyte text is in the active code page. Text for a fixed buffer is cut at a character, which
// is no error. Unless a comment says otherwise, a null pointer is a bad parameter, code 3.
//
// Thread safety: thread-safe.
//
// Failures: two faults of a specification are reported as warnings at 0x17001B from inside the
// call, so logging callbacks and an alert may run in it:
//
// - An "@" without a second one is removed. The number is written with two decimals and no
//   options.
// - A letter that is no option is ignored. Each such letter is reported once for each
//   specification, at most 32 letters of one specification.

#ifndef U_FORMAT_H
#define U_FORMAT_H

#include <cstddef>
#include <type_traits>

#include <krobase/format.h>

#include "U_Types.h"

// One argument of a message.
//
// Ownership: strings are not copied and must outlive the call.
class U_FormatArgument
{
public:
    // The type of the value.
    enum Kind
    {
        kMultibyte,
        kUTF16,
        kInt32,
        kInt64,
        kDouble
    };

    // A string, an integer or a number; texts end in 0.
    U_FormatArgument(const char* text) : mKind(kMultibyte), mMultibyte(text) {}
    U_FormatArgument(const U_u16* text) : mKind(kUTF16), mUTF16(text) {}
    U_FormatArgument(int value) : mKind(kInt32), mInteger(value) {}
    U_FormatArgument(unsigned int value) : mKind(kInt32), mInteger(value) {}
    U_FormatArgument(long value) : mKind(kLong), mInteger(value) {}
    U_FormatArgument(unsigned long value) : mKind(kLong), mInteger(static_cast<U_i64>(value)) {}
    U_FormatArgument(U_i64 value) : mKind(kInt64), mInteger(value) {}
    U_FormatArgument(U_u64 value) : mKind(kInt64), mInteger(static_cast<U_i64>(value)) {}
    U_FormatArgument(double value) : mKind(kDouble), mDouble(value) {}

    Kind mKind; // of the member that is set
    union
    {
        const char* mMultibyte; // null-terminated
        const U_u16* mUTF16;    // null-terminated
        U_i64 mInteger;         // also one of 32 bits
        double mDouble;
    };

private:
    static const Kind kLong = sizeof(long) == sizeof(int) ? kInt32 : kInt64;
};

// Fill `format` into `out` with `count` arguments. The function templates below build the array
// and call these functions. In both a string may be multibyte or UTF-16.
//
// Returns: 0; 3 for an argument of another kind than its placeholder, such as a number for a
//   string; or the code of another failure. On failure the first function leaves `out` unchanged,
//   and the second function makes `out` empty, whatever its size.
//
// The second function writes at most 1,023 bytes and a terminator, and no more than `size` bytes
// unless `size` is 0.
U_EXPORT U_Status Up_SubString(U_UTF16String& out, const U_UTF16String& format,
                               const U_FormatArgument* arguments, std::size_t count);
U_EXPORT U_Status Up_SubString(char* out, unsigned int size, const char* format,
                               const U_FormatArgument* arguments, std::size_t count);

// The arguments as an array, for the function templates.
template <class... Arguments> struct U_FormatPack
{
    static_assert((std::is_constructible<U_FormatArgument, const Arguments&>::value && ...),
                  "an argument of a message is a const char*, a const U_u16*, an integer or a "
                  "floating-point number");

    static const std::size_t kCount = sizeof...(Arguments); // of arguments

    // Takes copies of the values and pointers to the texts.
    explicit U_FormatPack(const Arguments&... arguments) : mArguments{arguments..., 0} {}

    U_FormatArgument mArguments[kCount + 1]; // an array has at least one element
};

// Fills `format` into `out`.
//
// Returns: 0, or a code as Up_SubString does; then `out` is unchanged.
template <class... Arguments>
U_Status U_SubString(U_UTF16String& out, const U_UTF16String& format, const Arguments&... arguments)
{
    const U_FormatPack<Arguments...> pack(arguments...);
    return Up_SubString(out, format, pack.mArguments, pack.kCount);
}

// Fills `format` into a buffer of `size` bytes. 0 means 1,024 bytes.
//
// Returns: 0, or a code as Up_SubString does; then `out` is empty.
template <class... Arguments>
U_Status U_SubString(char* out, unsigned int size, const char* format,
                     const Arguments&... arguments)
{
    const U_FormatPack<Arguments...> pack(arguments...);
    return Up_SubString(out, size, format, pack.mArguments, pack.kCount);
}

// Returns `format` filled.
//
// Throws: an int, the code that Up_SubString returns.
template <class... Arguments>
U_UTF16String U_SubString16(const U_UTF16String& format, const Arguments&... arguments)
{
    U_UTF16String out;
    if (const U_Status failure = U_SubString(out, format, arguments...))
        throw failure;
    return out;
}

// Resolves a message (U_ZString.h) for the functions above. If the translation has other
// placeholders than the English text, such as ^L1 for ^1, the result is the English text: values
// that suit the English text always suit the result.
//
// - The order of the placeholders, a repeated placeholder and a number specification may differ.
// - If a message has no such placeholders, its placeholders @0 to @9 for
//   krobase::utility::ReplaceInString are compared.
// - Without an English text the result is the translation.
//
// Throws: as U_ZStringToUTF16String does.
U_EXPORT U_UTF16String U_ZStringToFormat(const char* zstring);

// Writes a number into `out`, which has room for 32 bytes, with at least `integerDigits` digits
// before the decimal mark, as far as they fit, and with `decimals` decimals. `flags` are the
// options above.
//
// - If the digits, the decimal mark and the decimals are 23 characters or more, or if marks of
//   several bytes do not fit, the number is written as "%e" does, and the options z and s have no
//   effect.
// - Infinities are "inf", and a NaN is "nan". Neither is padded.
//
// Returns: 0; 3 for a null `out`; or the code of a failed conversion, with `out` unchanged.
U_EXPORT int U_FormatNum(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                         char* out);

// Reads a decimal number as atof does, independent of the C library's locale. If bit 0 of
// `flags` is set, the decimal mark is ".". Otherwise the first 31 bytes are read with the user's
// marks. A thousands mark ends the number. Without a number *out is 0. A hexadecimal number such
// as "0x10" is not read: *out is 0.
//
// Returns: 0, or the code of a failed conversion, with *out unchanged.
U_EXPORT int U_ScanNum(char* text, char flags, double* out);

// Writes a size in bytes for people: "0 KB", "12 bytes", "1.5 MB". Whole units are rounded down,
// tenths to the nearest one. A size is never rounded up to the next unit.
//
// `out` has room for 256 bytes and is returned. A null `out` has no effect.
//
// Throws: int as U_UTF16ToMBString does; without memory std::bad_alloc or the int 4. The content
//   of `out` is then unspecified.
U_EXPORT char* U_LongFormatBytes(unsigned long long size, char* out);
U_EXPORT U_UTF16String U_LongFormatBytes(unsigned long long size);

// Replace every "." and "," in `text` by the user's decimal and thousands marks, and back. `text`
// has room for 256 bytes. A longer result is cut at 255 bytes.
//
// Returns: 0, or the code of a failed conversion, with `text` unchanged.
U_EXPORT int U_InternationalizeNum(char* text);
U_EXPORT int U_DeInternationalizeNum(char* text);

// Return the user's marks, as birth read them. A mark that is not one byte long counts as "." or
// ",". Before the first birth the result is 0.
U_EXPORT char U_DecimalChar();
U_EXPORT char U_ThousandsChar();

// Stores the value of a hexadecimal digit, and 1 in *valid. For any other character both are 0.
// Either pointer may be null.
//
// Returns: always 0.
U_EXPORT int U_HexChar2Nibble(char c, unsigned char* value, unsigned char* valid);

#endif
