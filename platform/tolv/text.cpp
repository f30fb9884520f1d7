#include "text.h"

#include <atomic>

#include <platform/base/code_units.h>
#include <win32/text.h>

#include "private/switches.h"

using namespace platform;

namespace
{
const short kSystemScriptIsDoubleByte = 36; // a selector

std::atomic<bool> sDoubleByteScript(false);

struct ScriptEncoding
{
    short mScript;
    unsigned int mCodePage;
};

const ScriptEncoding kScriptEncodings[] = {
    {0, 10000}, {1, 10001}, {2, 950}, {3, 949}, {7, 10007}, {25, 936},
};

unsigned int CodePageOf(short script)
{
    for (const ScriptEncoding& row : kScriptEncodings)
    {
        if (row.mScript == script)
            return row.mCodePage;
    }
    return win32::GetACP();
}

unsigned char ByteAt(const char* text, int offset)
{
    return static_cast<unsigned char>(text[offset]);
}

short TypeInUTF8(const char* text, int offset)
{
    const unsigned char byte = ByteAt(text, offset);
    if (!IsUTF8Continuation(byte))
        return UTF8Length(byte) > 1 ? kFirstByte : kSingleByte;
    int start = offset - 1;
    while (start > 0 && start > offset - 3 && IsUTF8Continuation(ByteAt(text, start)))
        --start;
    if (start < 0)
        return kSingleByte;
    const unsigned char lead = ByteAt(text, start);
    const int length = UTF8Length(lead);
    if (offset - start >= length || !IsUTF8Second(lead, ByteAt(text, start + 1)))
        return kSingleByte;
    return offset - start == length - 1 ? kLastByte : kMiddleByte;
}

bool IsLead(unsigned int codePage, unsigned char byte)
{
    return byte >= 0x80 && win32::IsDBCSLeadByteEx(codePage, byte);
}

// A byte that cannot be a lead byte ends a character. So the bytes after the last such byte before
// the offset form pairs, and the parity of their number is the type of the byte at the offset.
short TypeInDoubleByte(unsigned int codePage, const char* text, int offset)
{
    const unsigned char byte = ByteAt(text, offset);
    if (!byte)
        return kSingleByte;
    int start = offset;
    while (start > 0 && IsLead(codePage, ByteAt(text, start - 1)))
        --start;
    if ((offset - start) % 2)
        return kLastByte;
    return IsLead(codePage, byte) ? kFirstByte : kSingleByte;
}

short TypeIn(unsigned int codePage, const char* text, int offset)
{
    if (offset < 0)
        return kSingleByte;
    if (codePage == win32::kCodePageUTF8)
        return TypeInUTF8(text, offset);
    return TypeInDoubleByte(codePage, text, offset);
}
} // namespace

namespace tolv
{
void SetDoubleByteScript(bool on)
{
    sDoubleByteScript.store(on, std::memory_order_relaxed);
}
} // namespace tolv

short CharByte(const char* text, int offset)
{
    return TypeIn(win32::GetACP(), text, offset);
}

short CharacterByteType(const char* text, int offset, short script)
{
    return TypeIn(CodePageOf(script), text, offset);
}

int GetScriptManagerVariable(short selector)
{
    return selector == kSystemScriptIsDoubleByte &&
           sDoubleByteScript.load(std::memory_order_relaxed);
}
