#include "text/FormatNum.h"

#include <algorithm>
#include <cstring>

#include "U_Format.h"
#include "U_String.h"

namespace
{
const int kExponentDecimals = 6; // of "%e"
const std::size_t kMarkedRoom = 256;

// Writes the number with the user's marks if that fits. Returns 0 or a code.
int FormatMarked(double value, unsigned int flags, int integerDigits, unsigned int decimals,
                 std::size_t mostPlain, char* out, bool* fits)
{
    char marked[kMarkedRoom];
    marked[FormatUnmarked(value, flags, integerDigits, decimals, mostPlain, marked)] = 0;
    if (!(flags & krobase::utility::kNumberNoLocaleMarks))
    {
        if (const int failure = U_InternationalizeNum(marked))
            return failure;
    }
    *fits = std::strlen(marked) <= kLongestNum;
    return U_CopyString(marked, kLongestNum + 1, out);
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
        return U_Err_BadParameter;
    bool fits = false;
    int failure = FormatMarked(value, flags, integerDigits, decimals, kMostPlainNum, out, &fits);
    // Marks of several bytes can make a long number longer than out. A number
    // that has lost its last digits would be another one.
    if (!failure && !fits)
        failure = FormatMarked(value, flags, integerDigits, decimals, 0, out, &fits);
    return failure;
}
