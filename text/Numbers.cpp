#include "text/Numbers.h"

#include <cstring>

#include <krobase/format.h>
#include <win32/locale.h>

#include "U_Encoding.h"
#include "U_Format.h"
#include "U_String.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
const unsigned char kScanPlain = 1;    // U_ScanNum: the mark is "."
const std::size_t kScanRoom = 32;      // bytes
const std::size_t kExchangeRoom = 256; // bytes
const int kSeparatorRoom = 16;         // bytes

// Written by birth, before other threads use the library.
char sDecimalChar = 0;
char sThousandsChar = 0;

// The user's mark, if it is one byte long.
char Separator(unsigned int item, char usual)
{
    char text[kSeparatorRoom];
    const int count = win32::GetLocaleInfoA(win32::kLocaleUserDefault, item, text, kSeparatorRoom);
    return count == 2 ? text[0] : usual;
}

// exchangeASCII does the work for text in ASCII, nearly all there is.
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
} // namespace

void Up_ReadNumberSeparators()
{
    sDecimalChar = Separator(win32::kLocaleDecimalMark, '.');
    sThousandsChar = Separator(win32::kLocaleThousandsMark, ',');
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
