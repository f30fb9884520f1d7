// Changes of case, and text spelled in plain ASCII.

#include "U_String.h"

#include <algorithm>
#include <cstring>

#include "U_Encoding.h"
#include "text/Characters.h"

namespace
{
// Adds a distance to all units from `first` to `last`.
int ShiftLetters(char* text, char first, char last, int distance)
{
    U_UTF16String units = U_MBToUTF16String(text);
    for (U_u16& unit : units)
    {
        if (first <= unit && unit <= last)
            unit = static_cast<U_u16>(unit + distance);
    }
    const std::string changed = U_UTF16ToMBString(units, false);
    // U+FFFD, which replaces a byte that is no character, may be longer than that byte.
    std::size_t count = std::strlen(text);
    count = changed.size() > count ? WholeCharacters(changed.data(), count) : changed.size();
    std::copy_n(changed.data(), count, text);
    return 0;
}

// Returns null for a byte without a spelling.
const char* AsciiSpelling(unsigned char byte)
{
    switch (byte)
    {
    case 0x99:
        return "TM";
    case 0xA9:
        return "(C)";
    case 0xB0:
        return "dgr";
    case 0xB7:
        return "*";
    case 0xBC:
        return "d";
    default:
        return nullptr;
    }
}

// Text that is appended to a buffer of fixed size, as far as it fits.
class BoundedText
{
public:
    BoundedText(char* out, unsigned int size) : mOut(out), mSize(size) {}

    bool IsFull() const { return mLength + 1 >= mSize; }

    void Append(char byte) { mOut[mLength++] = byte; }

    void Append(const char* text)
    {
        U_CopyString(text, mSize - mLength, mOut + mLength);
        mLength += std::strlen(mOut + mLength);
    }

    // Writes the terminator. If the text is not complete, its last character may be cut.
    void Finish(bool complete)
    {
        if (complete)
            mOut[mLength] = 0;
        else
            CutAtCharacter(mOut, mLength);
    }

private:
    char* const mOut;
    const std::size_t mSize;
    std::size_t mLength = 0;
};
} // namespace

int U_StringToLower(char* text)
{
    return ShiftLetters(text, 'A', 'Z', 'a' - 'A');
}

int U_StringToUpper(char* text)
{
    return ShiftLetters(text, 'a', 'z', 'A' - 'a');
}

int U_MakeDBCSSafeStr(const char* text, unsigned int size, char* out, bool* changed)
{
    return U_CleanTo7BitOnly(text, 0, size, out, changed);
}

int U_CleanTo7BitOnly(const char* text, char replacement, unsigned int size, char* out,
                      bool* changed)
{
    *changed = false;
    if (size == 0)
        return 0;
    const char replacementText[] = {replacement, 0};
    BoundedText result(out, size);
    while (*text && !result.IsFull())
    {
        const bool isLead = replacement && ByteType(text, 0) < 0;
        const unsigned char byte = static_cast<unsigned char>(*text);
        const char* spelling = isLead ? replacementText : AsciiSpelling(byte);
        if (!spelling && replacement && byte >= 0x80)
            spelling = replacementText;
        text = isLead ? NextCharacter(text, text) : text + 1;
        if (!spelling)
        {
            result.Append(static_cast<char>(byte));
            continue;
        }
        result.Append(spelling);
        *changed = true;
    }
    result.Finish(!*text);
    return 0;
}
