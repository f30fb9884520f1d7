// Sizes for people.

#include "U_Format.h"

#include <charconv>
#include <string>

#include "U_Encoding.h"
#include "U_String.h"
#include "U_ZString.h"

namespace
{
const std::size_t kRoom = 256;
const U_u64 kKilo = 1024;
const U_u64 kMega = kKilo * 1024;
const U_u64 kGiga = kMega * 1024;
const U_u64 kWholeFrom = 100; // of a unit no tenths are shown

struct Unit
{
    U_u64 mBytes;
    U_u64 mPart; // bytes of what it has 1,024 of, 0 if tenths are never shown
    const char* mName;
};

// The largest first.
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

// Of a unit that has 1,024 parts.
std::string Tenths(U_u64 parts)
{
    const float value = static_cast<float>(parts) / 1024;
    char text[16];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 1);
    return std::string(text, end.ptr);
}
} // namespace

char* U_LongFormatBytes(unsigned long long size, char* out)
{
    if (!out)
        return nullptr;
    const Unit& unit = UnitFor(size);
    const bool isWhole = unit.mPart == 0 || size >= kWholeFrom * unit.mBytes;
    const std::string amount =
        isWhole ? std::to_string(size / unit.mBytes) : Tenths(size / unit.mPart);
    U_CopyString((amount + ' ' + U_ZStringToMBString(unit.mName)).c_str(), kRoom, out);
    if (const int failure = U_InternationalizeNum(out))
        throw failure;
    return out;
}

U_UTF16String U_LongFormatBytes(unsigned long long size)
{
    char text[kRoom];
    return U_MBToUTF16String(U_LongFormatBytes(size, text));
}
