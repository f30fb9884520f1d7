#include "code_page.h"

#include <atomic>
#include <iterator>

#include "code_page_builder.h"

namespace win32
{
namespace
{
// Katakana middle dot: what the Japanese pages give for no character.
const Unit kMiddleDot = 0x30FB;

const PageSource kPages[] = {
    {932, "ibm-943_P15A-2003", LeadBytes::kJapanese, kMiddleDot},
    {936, "windows-936-2000", LeadBytes::kUpperHalf, '?'},
    {949, "windows-949-2000", LeadBytes::kUpperHalf, '?'},
    {950, "windows-950-2000", LeadBytes::kUpperHalf, '?'},
    {1250, "ibm-5346_P100-1998", LeadBytes::kNone, '?'},
    {1251, "ibm-5347_P100-1998", LeadBytes::kNone, '?'},
    {1252, "ibm-5348_P100-1997", LeadBytes::kNone, '?'},
    {1253, "ibm-5349_P100-1998", LeadBytes::kNone, '?'},
    {1254, "ibm-5350_P100-1998", LeadBytes::kNone, '?'},
    {1255, "ibm-9447_P100-2002", LeadBytes::kNone, '?'},
    {1256, "ibm-9448_X100-2005", LeadBytes::kNone, '?'},
    {1257, "ibm-9449_P100-2002", LeadBytes::kNone, '?'},
    {1258, "ibm-5354_P100-1998", LeadBytes::kNone, '?'},
    {10000, "macos-0_2-10.2", LeadBytes::kNone, '?'},
    {10001, "ibm-943_P15A-2003", LeadBytes::kJapanese, kMiddleDot},
    {10007, "macos-7_3-10.2", LeadBytes::kNone, '?'},
};

std::atomic<const CodePage*> sBuilt[std::size(kPages)];

const PageSource* FindSource(unsigned int codePage)
{
    for (const PageSource& source : kPages)
    {
        if (source.mCodePage == codePage)
            return &source;
    }
    return nullptr;
}
} // namespace

bool IsKnownCodePage(unsigned int codePage)
{
    return FindSource(codePage) != nullptr;
}

bool IsLeadByte(unsigned int codePage, Byte byte)
{
    const PageSource* source = FindSource(codePage);
    return source && IsLeadByte(source->mLeadBytes, byte);
}

const CodePage* FindCodePage(unsigned int codePage)
{
    const PageSource* source = FindSource(codePage);
    if (!source)
        return nullptr;
    std::atomic<const CodePage*>& built = sBuilt[source - kPages];
    if (const CodePage* page = built.load(std::memory_order_acquire))
        return page;
    // No lock is held: a new that fails in here may run a handler that converts
    // text itself. Of several makers the first one's page stays.
    std::unique_ptr<const CodePage> page = BuildCodePage(*source);
    const CodePage* present = nullptr;
    if (!page)
        return built.load(std::memory_order_acquire);
    if (!built.compare_exchange_strong(present, page.get(), std::memory_order_acq_rel,
                                       std::memory_order_acquire))
        return present;
    return page.release();
}
} // namespace win32
