// A host with one fault in a block of the library: fault_host KIND FAULT. FirstOwner allocates
// and frees a block of the same size before, so that the block of SecondOwner could be a reused
// block. Ends with 0 if nothing stops the host.

#include <cstddef>
#include <map>
#include <string>

#include "U_Alloc.h"
#include "U_Hog.h"
#include "U_Lifecycle.h"

namespace
{
const std::size_t kSize = 1000;

struct Block
{
    void* mOwner; // the pointer or the handle
    char* mBytes;
};

Block AllocatePointer()
{
    void* const pointer = U_AllocatePtr(0, "pointer", kSize);
    return {pointer, static_cast<char*>(pointer)};
}

Block AllocateHandle()
{
    void** const handle = U_AllocateHandle(0, "handle", kSize);
    return {handle, static_cast<char*>(*handle)};
}

// The size of the first block differs, and the block grows where it lies or is moved.
Block AllocateResized()
{
    void** handle = U_AllocateHandle(0, "handle", kSize / 2);
    U_ResizeHandle(0, kSize, "resized", &handle);
    return {handle, static_cast<char*>(*handle)};
}

Block AllocateHog()
{
    U_u32 hog = 0;
    void** handle = nullptr;
    void* data = nullptr;
    U_RegisterHog("hog", &hog);
    U_NewHogHandle(hog, 0, "hog handle", kSize, 0, &handle);
    U_LockHogHandle(handle, &data);
    return {handle, static_cast<char*>(data)};
}

Block AllocateRecycled()
{
    void* const pointer = U_AllocateRecycledPtr(0, "recycled", kSize);
    return {pointer, static_cast<char*>(pointer)};
}

void FreeHandle(void* handle)
{
    U_FreeHandle(static_cast<void**>(handle));
}

struct Kind
{
    Block (*mAllocate)();
    void (*mFree)(void*);
};
const std::map<std::string, Kind> kKinds = {
    {"pointer", {&AllocatePointer, [](void* block) { U_FreePtr(block); }}},
    {"handle", {&AllocateHandle, &FreeHandle}},
    {"resized", {&AllocateResized, &FreeHandle}},
    {"hog", {&AllocateHog, [](void* handle) { U_FreeHogHandle(static_cast<void**>(handle)); }}},
    {"recycled", {&AllocateRecycled, [](void* block) { U_FreeRecycledPtr(block); }}},
};

__attribute__((noinline)) void FirstOwner(const Kind& kind)
{
    kind.mFree(kind.mAllocate().mOwner);
}

__attribute__((noinline)) Block SecondOwner(const Kind& kind)
{
    return kind.mAllocate();
}

__attribute__((noinline)) void Liberator(const Kind& kind, const Block& block)
{
    kind.mFree(block.mOwner);
}

__attribute__((noinline)) void Culprit(char* byte)
{
    *static_cast<volatile char*>(byte) = 1;
}
} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3 || U_Birth("Fault Host", nullptr) != 0)
        return 1;
    const Kind& kind = kKinds.at(arguments[1]);
    const std::string fault = arguments[2];
    FirstOwner(kind);
    const Block block = SecondOwner(kind);
    Culprit(block.mBytes);
    Culprit(block.mBytes + kSize - 1);
    if (fault == "overrun")
        Culprit(block.mBytes + kSize);
    if (fault == "underrun")
        Culprit(block.mBytes - 1);
    Liberator(kind, block);
    if (fault == "use_after_free")
        Culprit(block.mBytes + 1);
    if (fault == "second_free")
        Liberator(kind, block);
    return U_Death();
}
