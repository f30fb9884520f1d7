// Numbers and sizes in bytes as text, with the marks of the user's locale.

#include "text/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include <krobase/format.h>
#include <win32/locale.h>

#include "U_Encoding.h"
#include "U_Format.h"
#include "U_String.h"
#include "U_ZString.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/BirthSteps.h"

namespace
{
const unsigned char kScanPlain = 1;    // flag of U_ScanNum: the decimal mark is "."
const std::size_t kScanRoom = 32;      // bytes
const int kExponentDecimals = 6;       // of "%e"
const std::size_t kExchangeRoom = 256; // bytes of a text whose marks are exchanged
const int kMarkRoom = 16;              // bytes

// Written by birth, while no other thread uses the library.
char sDecimalChar = 0;
char sThousandsChar = 0;

// Returns the user's mark if it is one byte long, otherwise `usual`.
char UserMark(unsigned int item, char usual)
{
    char text[kMarkRoom];
    const int count = win32::GetLocaleInfoA(win32::kLocaleUserDefault, item, text, kMarkRoom);
    return count == 2 ? text[0] : usual;
}

// Nearly all numbers are ASCII text, which `exchangeASCII` changes in place without a
// conversion. It returns false for any other text.
int ExchangeMarks(char* text, bool (*exchangeASCII)(char*), void (*exchange)(U_UTF16String&))
{
    if (!text)
        return BadArgument("U_InternationalizeNum, U_DeInternationalizeNum: no number");
    if (exchangeASCII(text))
        return U_TruncateString(kExchangeRoom - 1, text);
    return Guarded([&] {
        U_UTF16String units = U_MBToUTF16String(text);
        exchange(units);
        U_CopyString(U_UTF16ToMBString(units, false).c_str(), kExchangeRoom, text);
    });
}

// Formats a number with the user's marks. `marked` has room for kExchangeRoom bytes. Returns 0 or
// an error code.
int FormatMarked(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                 std::size_t mostPlain, char* marked)
{
    marked[FormatUnmarked(value, flags, integerDigits, decimals, mostPlain, marked)] = 0;
    return U_InternationalizeNum(marked);
}

const U_u64 kKilo = 1024;
const U_u64 kMega = kKilo * 1024;
const U_u64 kGiga = kMega * 1024;
const U_u64 kWholeFrom = 100; // units; from here on no tenths are shown

struct Unit
{
    U_u64 mBytes;
    U_u64 mPart; // 1/1,024 of the unit, in bytes; 0 if the unit never has tenths
    const char* mName;
};

// From the largest to the smallest.
const Unit kUnits[] = {
    {kGiga, kMega, "$$$/QX/U/ByteSizeFormat/GigaBytes=GB"},
    {kMega, kKilo, "$$$/QX/U/ByteSizeFormat/MegaBytes=MB"},
    {kKilo, 0, "$$$/QX/U/ByteSizeFormat/KiloBytes=KB"},
    {1, 0, "$$$/QX/U/ByteSizeFormat/Bytes=bytes"},
};

const Unit& UnitFor(U_u64 size)
{
    if (size == 0)
        return kUnits[2]; // "0 KB"
    const Unit* unit = kUnits;
    while (size < unit->mBytes)
        ++unit;
    return *unit;
}

// Writes a number of 1,024ths with one decimal.
std::string WithTenths(U_u64 parts)
{
    const float value = static_cast<float>(parts) / 1024;
    char text[16];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 1);
    return std::string(text, end.ptr);
}
} // namespace

void Up_ReadNumberSeparators()
{
    sDecimalChar = UserMark(win32::kLocaleDecimalMark, '.');
    sThousandsChar = UserMark(win32::kLocaleThousandsMark, ',');
}

char U_DecimalChar()
{
    return sDecimalChar;
}

char U_ThousandsChar()
{
    return sThousandsChar;
}

int U_InternationalizeNum(char* text)
{
    return ExchangeMarks(text, &krobase::utility::InternationalizeNum,
                         &krobase::utility::InternationalizeNum);
}

int U_DeInternationalizeNum(char* text)
{
    return ExchangeMarks(text, &krobase::utility::DeInternationalizeNum,
                         &krobase::utility::DeInternationalizeNum);
}

NumberMarks MarksFor(unsigned int flags, const NumberMarks* user)
{
    if (flags & krobase::utility::kNumberNoLocaleMarks)
        return krobase::utility::kPlainNumberMarks;
    return user ? *user : krobase::utility::UserNumberMarks();
}

std::size_t FormatUnmarked(double value, unsigned int flags, int integerDigits,
                           unsigned int decimals, std::size_t mostPlain, char* out)
{
    const std::size_t leastDigits = static_cast<std::size_t>(std::max(integerDigits, 0));
    const krobase::utility::NumberLayout layout = {flags,     leastDigits, decimals,
                                                   mostPlain, kLongestNum, kExponentDecimals};
    return krobase::utility::FormatNumber(value, layout, out);
}

int U_FormatNum(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                char* out)
{
    if (!out)
        return BadArgument("U_FormatNum: no buffer");
    const NumberMarks marks = MarksFor(flags);
    if (marks.AreASCII())
    {
        const std::size_t length =
            FormatUnmarked(value, flags, integerDigits, decimals, kMostPlainNum, out);
        SetMarks(marks, out, length);
        out[length] = 0;
        return 0;
    }
    char marked[kExchangeRoom];
    std::size_t mostPlain = kMostPlainNum;
    int failure = FormatMarked(value, flags, integerDigits, decimals, mostPlain, marked);
    // Marks of several bytes can make the text longer than `out`. First the pad is shortened,
    // then the number is written with an exponent. Cutting the text would change the value.
    int digits = std::min(integerDigits, static_cast<int>(kLongestNum));
    while (!failure && std::strlen(marked) > kLongestNum)
    {
        if (digits > 0)
            --digits;
        else
            mostPlain = 0;
        failure = FormatMarked(value, flags, digits, decimals, mostPlain, marked);
    }
    return failure ? failure : U_CopyString(marked, kLongestNum + 1, out);
}

int U_ScanNum(char* text, char flags, double* out)
{
    if (!text || !out)
        return BadArgument("U_ScanNum: no text, or no place for the number");
    char plain[kExchangeRoom];
    const char* number = text;
    if (!(static_cast<unsigned char>(flags) & kScanPlain))
    {
        U_CopyString(text, kScanRoom, plain);
        if (const int failure = U_DeInternationalizeNum(plain))
            return failure;
        number = plain;
    }
    *out = 0;
    krobase::utility::ReadNumber(number, number + std::strlen(number), out);
    return 0;
}

int U_HexChar2Nibble(char c, unsigned char* value, unsigned char* valid)
{
    int digit = -1;
    if (c >= '0' && c <= '9')
        digit = c - '0';
    else if (c >= 'a' && c <= 'f')
        digit = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        digit = c - 'A' + 10;
    if (value)
        *value = static_cast<unsigned char>(digit < 0 ? 0 : digit);
    if (valid)
        *valid = digit >= 0;
    return 0;
}

char* U_LongFormatBytes(unsigned long long size, char* out)
{
    if (!out)
        return nullptr;
    const Unit& unit = UnitFor(size);
    const bool isWhole = unit.mPart == 0 || size >= kWholeFrom * unit.mBytes;
    const std::string amount =
        isWhole ? std::to_string(size / unit.mBytes) : WithTenths(size / unit.mPart);
    U_CopyString((amount + ' ' + U_ZStringToMBString(unit.mName)).c_str(), kExchangeRoom, out);
    if (const int failure = U_InternationalizeNum(out))
        throw failure;
    return out;
}

U_UTF16String U_LongFormatBytes(unsigned long long size)
{
    char text[kExchangeRoom];
    return U_MBToUTF16String(U_LongFormatBytes(size, text));
}
