#include "best_fit.h"

#include <iterator>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>

namespace win32
{
namespace
{
// The nearest character of what has no decomposition. It is ASCII, which every
// page has, so that no search goes round in a circle.
struct Twin
{
    Unit mUnit;
    char mTwin;
};

const Twin kTwins[] = {
    {0x00D8, 'O'}, {0x00F8, 'o'}, {0x0110, 'D'},  {0x0111, 'd'}, {0x0126, 'H'},  {0x0127, 'h'},
    {0x0131, 'i'}, {0x0141, 'L'}, {0x0142, 'l'},  {0x0166, 'T'}, {0x0167, 't'},  {0x0180, 'b'},
    {0x0192, 'f'}, {0x2010, '-'}, {0x2013, '-'},  {0x2014, '-'}, {0x2018, '\''}, {0x2019, '\''},
    {0x201C, '"'}, {0x201D, '"'}, {0x2032, '\''}, {0x2033, '"'}, {0x2035, '`'},  {0x2039, '<'},
    {0x203A, '>'}, {0x2044, '/'}, {0x2212, '-'},  {0x2215, '/'}, {0x2216, '\\'}, {0x2217, '*'},
    {0x2223, '|'}, {0x2236, ':'}, {0x223C, '~'},
};

const UChar kStroke = 0x0338; // laid over a sign to negate it

// Whether what a decomposition loses behind its head may go: marks, other than
// a stroke that negates the sign.
bool IsMark(UChar unit)
{
    return unit != kStroke && (U_MASK(u_charType(unit)) & U_GC_M_MASK) != 0;
}
} // namespace

// A decomposition goes a step at a time, so that no more marks are lost than
// must be. A space that carries marks stands for them and is no fit.
Unit SimplerUnit(Unit unit)
{
    for (const Twin& row : kTwins)
    {
        if (row.mUnit == unit)
            return static_cast<Unit>(row.mTwin);
    }
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFKCInstance(&error);
    if (U_FAILURE(error))
        return 0;
    UChar parts[32];
    const int32_t room = static_cast<int32_t>(std::size(parts));
    const int32_t count = unorm2_getRawDecomposition(normalizer, unit, parts, room, &error);
    if (U_FAILURE(error) || count < 1 || (count > 1 && parts[0] == ' '))
        return 0;
    for (int32_t i = 1; i < count; ++i)
    {
        if (!IsMark(parts[i]))
            return 0;
    }
    return parts[0];
}
} // namespace win32
