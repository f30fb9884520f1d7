// The checked heap after long accesses outside of blocks, which must not end the process.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include <platform/base/memory_tools.h>
#include <platform/control.h>

#include "U_Alloc.h"
#include "U_Lifecycle.h"
#include "tests/crash/Child.h"
#include "tests/support/System.h"

namespace
{
const std::size_t kSize = 100;
const int kUnreported = 7; // the end of a child without the expected report

struct Block
{
    void* mOwner;
    char* mBytes;
};

struct Kind
{
    const char* mName; // in a report
    Block (*mAllocate)(const char* name);
    void (*mFree)(void* owner);
};

const Kind kKinds[] = {
    {"pointer",
     [](const char* name) {
         void* const pointer = U_AllocatePtr(1, name, kSize);
         return Block{pointer, static_cast<char*>(pointer)};
     },
     [](void* pointer) { U_FreePtr(pointer); }},
    {"handle",
     [](const char* name) {
         void** const handle = U_AllocateHandle(1, name, kSize);
         return Block{handle, static_cast<char*>(*handle)};
     },
     [](void* handle) { U_FreeHandle(static_cast<void**>(handle)); }},
    {"recycled pointer",
     [](const char* name) {
         void* const pointer = U_AllocateRecycledPtr(1, name, kSize);
         return Block{pointer, static_cast<char*>(pointer)};
     },
     [](void* pointer) { U_FreeRecycledPtr(pointer); }},
};

struct Side
{
    const char* mFault;
    std::ptrdiff_t mFirst; // the byte beside the block
    std::ptrdiff_t mStep;
};

const Side kSides[] = {
    {"bytes after the end of the block were overwritten", kSize, 1},
    {"bytes before the block were overwritten", -1, -1},
};

const Side* sSide = nullptr;
char sOrigin[64]; // of the block, in a report
bool sIsReported = false;

void NoteReport(int, const char*, const char* tag, const char* text)
{
    if (tag && std::strcmp(tag, "HEAP_CHECK") == 0 && std::strstr(text, sSide->mFault) &&
        std::strstr(text, sOrigin))
        sIsReported = true;
}

// Writes beside a block between others, and continues to use the heaps after that.
void DamageBlock(const Kind& kind, const Side& side, std::ptrdiff_t length)
{
    sIsReported = false;
    const Block before = kind.mAllocate("Before");
    const Block culprit = kind.mAllocate("Culprit");
    const Block after = kind.mAllocate("After");
    for (std::ptrdiff_t i = 0; i < length; ++i)
        static_cast<volatile char*>(culprit.mBytes)[side.mFirst + i * side.mStep] = 0x11;
    for (const Block& block : {culprit, before, after, kind.mAllocate("Later")})
        kind.mFree(block.mOwner);
    for (int count = 0; count < 300; ++count) // the blocks leave the queue
        kind.mFree(kind.mAllocate("Further").mOwner);
    if (sIsReported)
        return;
    std::fprintf(stderr, "%d bytes: no report\n", static_cast<int>(length));
    std::_Exit(kUnreported);
}

[[noreturn]] void DamageBlocks(const Kind& kind, const Side& side)
{
    sSide = &side;
    std::snprintf(sOrigin, sizeof(sOrigin), "block of 100 bytes: %s \"Culprit\", location 0 :: 1",
                  kind.mName);
    platform::SetHeapChecks("stacks=1");
    platform::SetLogSink(&NoteReport);
    Birth();
    for (const std::ptrdiff_t length : {24, 40, 64, 200})
        DamageBlock(kind, side, length);
    U_Death();
    std::_Exit(0);
}
} // namespace

TEST(LongOverruns, AreReportedAndTheProcessContinues)
{
    if (platform::MemoryIsWatched())
        GTEST_SKIP() << "a checker of the process reports the access and ends the process";
    for (const Kind& kind : kKinds)
    {
        for (const Side& side : kSides)
        {
            SCOPED_TRACE(testing::Message() << kind.mName << ": " << side.mFault);
            RunToDeath([&] { DamageBlocks(kind, side); }).Expect(ExitWith(0));
        }
    }
}
