// The switch of the checked heap.

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include <krobase/private/recycled_source.h>
#include <platform/base/memory_tools.h>
#include <win32/memory.h>
#include <wril/wril.h>

#include "memory.h"
#include "private/checked_blocks.h"
#include "private/switches.h"

std::atomic<bool> MEM_KeepsOrigins(false);

namespace tolv
{
std::atomic<unsigned> sStacks(0);
std::atomic<unsigned> sDelay(0);
std::atomic<bool> sAbort(false);

namespace
{
const char kVariable[] = "U_HEAP_CHECKS";
const unsigned kMostDelay = 10000;

struct HeapChecks
{
    bool mOn = false;
    unsigned mStacks = 4096;
    unsigned mDelay = 256;
    bool mAbort = false;
};

// Reads a decimal number of at most six digits, and stores the place after the number.
bool ReadNumber(const char** text, unsigned* number)
{
    const char* const digits = *text;
    const std::size_t length = std::strspn(digits, "0123456789");
    if (!length || length > 6)
        return false;
    *number = static_cast<unsigned>(std::strtoul(digits, nullptr, 10));
    *text = digits + length;
    return true;
}

bool SkipWord(const char** text, const char* word)
{
    const std::size_t length = std::strlen(word);
    if (std::strncmp(*text, word, length) != 0)
        return false;
    *text += length;
    return true;
}

// Reads one option: "stacks=N", "delay=N" or "abort".
bool ReadOption(const char** text, HeapChecks* checks)
{
    if (SkipWord(text, "stacks="))
        return ReadNumber(text, &checks->mStacks);
    if (SkipWord(text, "delay="))
        return ReadNumber(text, &checks->mDelay) && checks->mDelay <= kMostDelay;
    checks->mAbort = true;
    return SkipWord(text, "abort");
}

// Returns false for a text that is not understood.
bool Parse(const char* text, HeapChecks* checks)
{
    if (!*text || std::strcmp(text, "0") == 0)
        return true;
    checks->mOn = true;
    if (std::strcmp(text, "1") == 0)
        return true;
    while (ReadOption(&text, checks))
    {
        if (!*text)
            return true;
        if (*text++ != ',')
            return false;
    }
    return false;
}

void Apply(const HeapChecks& checks)
{
    sStacks = checks.mStacks;
    sDelay = checks.mDelay;
    sAbort = checks.mAbort;
    if (checks.mOn)
    {
        static const krobase::utility::RecycledSource kSource = {&NewCheckedRecycled,
                                                                 &FreeCheckedRecycled};
        krobase::utility::SetRecycledSource(kSource);
        SetWatched();
    }
    MEM_KeepsOrigins = checks.mOn;
}

const char* ValueInEnvironment()
{
    const char* const value = std::getenv(kVariable);
    return value ? value : "";
}

// True once the host or the environment has set the checks.
std::atomic<bool> sIsSet(false);
} // namespace

void ReadHeapChecks()
{
    if (!sIsSet && !SetHeapChecks(nullptr))
        WRIL_sprintf(0, "TOLV", "HEAP_CHECK", "%s=%s is not understood; the heap is not checked",
                     kVariable, ValueInEnvironment());
}

bool SetHeapChecks(const char* options)
{
    HeapChecks checks;
    sIsSet = true;
    if (!Parse(options ? options : ValueInEnvironment(), &checks))
        return false;
    Apply(checks);
    return true;
}
} // namespace tolv

using namespace tolv;

void MEM_SetOrigin(void* block, const MEM_Origin& origin)
{
    void** const slot = FindLive(block);
    BlockRecord* const record = slot ? RecordOf(slot) : nullptr;
    if (!record)
        return;
    if (record->mKind != kPointer) // the heap has named the pointer
        record->mName = InternName(origin.mName);
    record->mLocation = origin.mLocation;
    if (origin.mIsHog)
        record->mKind = kHogHandle;
    record->mOwnerBytes = origin.mIsHog || origin.mHasHeader ? kOwnerBytes : 0;
    if (!origin.mHasHeader)
        return;
    record->mHasOwnerHeader = true;
    std::memcpy(record->mOwnerHeader, block, kOwnerBytes);
    HideGuards(*record);
}

namespace
{
// Reads a block that may be freed.
PLATFORM_READS_HIDDEN_MEMORY bool StartsWith(const void* block, unsigned mark)
{
    if (reinterpret_cast<std::uintptr_t>(block) % alignof(unsigned) ||
        win32::IsBadReadPtr(block, sizeof(mark)))
        return false;
    const platform::ScHiddenReads reads;
    return *static_cast<const unsigned*>(block) == mark;
}
} // namespace

bool MEM_CheckRecycled(void* block, unsigned mark)
{
    if (!ChecksNewBlocks())
        return true;
    void** const slot = FindLive(block);
    const BlockRecord* const record = slot ? RecordOf(slot) : nullptr;
    if (record && record->mKind == kRecycled)
    {
        VerifyBlock(slot);
        return true;
    }
    void* const address = static_cast<unsigned char*>(block) + kOwnerBytes; // the caller's bytes
    return StartsWith(block, mark) || Explain(address, kRecycled);
}

void MEM_ReportNoHog(void** handle, void** original)
{
    BlockRecord* const record =
        ChecksNewBlocks() && SlabOfHandle(handle) ? RecordOf(handle) : nullptr;
    if (!record)
        return;
    if (record->mKind != kHogHandle)
    {
        if (!IsSlot(original))
            ReportOtherKind(handle, *record);
        return;
    }
    ReportFault("bytes before the block were overwritten", CallersBytes(*record), record);
    MakePlain(record);
}
