// Makes the tables of a code page.

#ifndef WIN32_PORTABLE_CODE_PAGE_BUILDER_H
#define WIN32_PORTABLE_CODE_PAGE_BUILDER_H

#include <memory>

#include "code_page.h"

namespace win32
{
enum class LeadBytes
{
    kNone,
    kJapanese,
    kUpperHalf
};

inline bool IsLeadByte(LeadBytes kind, Byte byte)
{
    switch (kind)
    {
    case LeadBytes::kJapanese:
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    case LeadBytes::kUpperHalf:
        return byte >= 0x81 && byte <= 0xFE;
    default:
        return false;
    }
}

struct PageSource
{
    unsigned int mCodePage;
    const char* mConverter; // ICU's name
    LeadBytes mLeadBytes;
    Unit mDefaultUnit; // for a sequence of bytes that is no character
};

// Null without memory, or without ICU's data.
std::unique_ptr<const CodePage> BuildCodePage(const PageSource& source);
} // namespace win32

#endif
