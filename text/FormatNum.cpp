#include "text/FormatNum.h"

#include <algorithm>
#include <cstring>

#include "U_Format.h"
#include "U_String.h"
#include "indep/errors/Report.h"

namespace
{
const int kExponentDecimals = 6; // of "%e"
const std::size_t kMarkedRoom = 256;

// Writes the number with the user's marks into kMarkedRoom bytes. Returns 0 or a
// code.
int FormatMarked(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                 std::size_t mostPlain, char* marked)
{
    marked[FormatUnmarked(value, flags, integerDigits, decimals, mostPlain, marked)] = 0;
    if (flags & krobase::utility::kNumberNoLocaleMarks)
        return 0;
    return U_InternationalizeNum(marked);
}
} // namespace

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
    char marked[kMarkedRoom];
    std::size_t mostPlain = kMostPlainNum;
    int failure = FormatMarked(value, flags, integerDigits, decimals, mostPlain, marked);
    // Marks of several bytes can make a number longer than out. The pad gives way
    // first, then plain notation: a number that has lost its last digits would be
    // another one.
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
