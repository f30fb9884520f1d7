// The texts of the checked heap.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <tuple>

#include <platform/base/thread_local.h>
#include <wril/wril.h>

#include "private/checked_blocks.h"

namespace tolv
{
namespace
{
const char kTag[] = "HEAP_CHECK";

// True while the thread writes a report. A fault that a log sink causes meanwhile is not reported.
PLATFORM_THREAD_LOCAL(bool, tReports);

const char* KindOf(const BlockRecord& record)
{
    static const char* const kKinds[] = {"pointer", "handle", "hog handle", "recycled pointer"};
    return kKinds[record.mKind];
}

// The kind, the operation and the location of a block, as in `handle "Thumbnail", location 0 :: 1`.
class Origin
{
public:
    explicit Origin(const BlockRecord& record)
    {
        std::snprintf(mText, sizeof(mText), "%s \"%s\", location %u :: %u", KindOf(record),
                      NameOf(record.mName), record.mLocation >> 16, record.mLocation & 0xFFFF);
    }
    const char* Text() const { return mText; }

private:
    char mText[160]; // a name has at most 63 bytes
};

void AppendStackOf(std::string& text, const char* action, const Stack* stack)
{
    text.append("\n  ").append(action);
    if (stack)
        AppendStack(text, *stack);
    else
        text.append(" a stack that was not kept (U_HEAP_CHECKS=stacks=1 keeps all)");
}

// Allocates nothing: the host may have damaged the C library's heap, too.
void LogFault(const char* fault, const void* address, const BlockRecord* record)
{
    char text[400];
    if (record)
        std::snprintf(text, sizeof(text), "%s: %p\n  block of %u bytes: %s", fault, address,
                      CallersSize(*record), Origin(*record).Text());
    else
        std::snprintf(text, sizeof(text), "%s: %p", fault, address);
    WRIL_Log(0, "TOLV", kTag, text);
}

void LogStacks(const void* address, const BlockRecord* record)
{
    char place[48];
    std::snprintf(place, sizeof(place), "stacks of the fault at %p", address);
    std::string text = place;
    if (record)
    {
        AppendStackOf(text, "allocated at", record->mAllocated);
        if (record->mState != kLive)
            AppendStackOf(text, "freed at", record->mFreed);
    }
    if (const Stack* const here = KeepStack(1))
        AppendStackOf(text, "found at", here);
    WRIL_Log(0, "TOLV", kTag, text.c_str());
}

struct Leak
{
    long long mBlocks = 0;
    long long mBytes = 0;
    const BlockRecord* mExample = nullptr;
};

// By kind, name, location and stack of the allocation.
typedef std::map<std::tuple<int, std::uint32_t, std::uint32_t, const Stack*>, Leak> Leaks;

Leaks CollectLeaks(const MEM_Heap* heap)
{
    Leaks leaks;
    VisitRecords([&](void** slot, const BlockRecord& record) {
        if (record.mState != kLive || (HeapOf(slot) != heap->mNumber && record.mKind != kRecycled))
            return;
        Leak& leak = leaks[{record.mKind, record.mName, record.mLocation, record.mAllocated}];
        ++leak.mBlocks;
        leak.mBytes += CallersSize(record);
        leak.mExample = &record;
    });
    return leaks;
}

void LogLeak(const Leak& leak)
{
    char sum[80];
    std::snprintf(sum, sizeof(sum), "%lld blocks, %lld bytes left: ", leak.mBlocks, leak.mBytes);
    std::string text = std::string(sum) + Origin(*leak.mExample).Text();
    AppendStackOf(text, "allocated at", leak.mExample->mAllocated);
    WRIL_Log(0, "TOLV", kTag, text.c_str());
}

// Calls log(). The heap throws no exception of a log sink, and continues without memory for the
// text.
template <class Function> void Log(Function log)
{
    try
    {
        log();
    }
    catch (...)
    {
    }
}
} // namespace

void ReportFault(const char* fault, const void* address, const BlockRecord* record)
{
    if (tReports)
        return;
    tReports = true;
    Log([&] { LogFault(fault, address, record); });
    Log([&] { LogStacks(address, record); });
    tReports = false;
    if (sAbort.load(std::memory_order_relaxed))
        std::abort();
}

void ReportOtherKind(const void* address, const BlockRecord& record)
{
    ReportFault("a block was used or freed by a function for another kind of block", address,
                &record);
}

void LogCheckedLeaks(const MEM_Heap* heap)
{
    try
    {
        for (const auto& leak : CollectLeaks(heap))
            Log([&] { LogLeak(leak.second); });
    }
    catch (const std::bad_alloc&)
    {
        // Without memory for the list the sum that the caller logs must do.
    }
}
} // namespace tolv
