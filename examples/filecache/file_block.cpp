#include "file_block.h"

#include <cstring>

#include <U_Alloc.h>
#include <U_Hog.h>

#include "cache.h"

namespace
{
const size_t kChunk = 64 << 10;

// Location codes, which the library reports and logs.
enum : U_u32
{
    kLocationRead = 1,
    kLocationHold,
    kLocationResize
};
} // namespace

// Without a name: a refusal costs time only, so the user needn't hear of it.
ReadBuffer::ReadBuffer() : mRecycled(U_AllocateRecycledPtr(kLocationRead, nullptr, kChunk)) {}

ReadBuffer::~ReadBuffer()
{
    U_FreeRecycledPtr(mRecycled);
}

size_t ReadBuffer::Size() const
{
    return mRecycled ? kChunk : sizeof mSpare;
}

FileBlock::FileBlock(U_u32 hog, U_u64 expectedSize, U_u64 budget, const char* opName)
    : mBudget(budget), mOpName(opName), mSize(expectedSize)
{
    const KeepFiles keep(expectedSize > mBudget);
    U_NewHogHandle(hog, kLocationHold, mOpName, expectedSize, 0, &mHandle);
}

FileBlock::~FileBlock()
{
    Free();
}

void FileBlock::Append(const void* bytes, size_t size)
{
    if (mHandle && size > mSize - mUsed)
        Resize(mUsed + size);
    if (IsRefused())
        return;
    void* data = nullptr;
    if (U_LockHogHandle(mHandle, &data) != 0)
        return;
    std::memcpy(static_cast<char*>(data) + mUsed, bytes, size);
    U_UnlockHogHandle(mHandle);
    mUsed += size;
}

void** FileBlock::Release()
{
    if (mHandle && mUsed < mSize)
        Resize(mUsed);
    void** handle = mHandle;
    mHandle = nullptr;
    return handle;
}

void FileBlock::Resize(U_u64 size)
{
    const KeepFiles keep(size > mBudget);
    if (U_ResizeHogHandle(kLocationResize, mOpName, size, mHandle) == 0)
    {
        mSize = size;
        return;
    }
    Free();
}

void FileBlock::Free()
{
    if (mHandle)
        U_FreeHogHandle(mHandle);
    mHandle = nullptr;
}
