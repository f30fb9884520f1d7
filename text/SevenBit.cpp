// Text put into plain ASCII.

#include "U_String.h"

#include <cstring>

#include "text/Characters.h"

namespace
{
// Null if the byte has none.
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

// Takes what fits, and a terminator.
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

    // complete: nothing was left out, so the last character is whole.
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
        text = isLead ? CharacterBehind(text, text) : text + 1;
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
