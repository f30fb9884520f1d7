#include "file_block.h"

#include <cstring>

#include <U_Alloc.h>

#include "cache.h"

namespace
{
const size_t kChunk = 64 << 10;

// Tell the allocations apart where the library reports or logs them.
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

FileBlock::FileBlock(U_u64 expectedSize, U_u64 budget, const char* opName)
    : mBudget(budget), mOpName(opName), mSize(expectedSize)
{
    const KeepFiles keep(expectedSize > mBudget);
    mHandle = U_AllocateHandle(kLocationHold, mOpName, expectedSize);
}

FileBlock::~FileBlock()
{
    U_FreeHandle(mHandle);
}

void FileBlock::Append(const void* bytes, size_t size)
{
    if (mHandle && size > mSize - mUsed)
        Resize(mUsed + size);
    if (IsRefused())
        return;
    std::memcpy(static_cast<char*>(*mHandle) + mUsed, bytes, size);
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
    if (U_ResizeHandle(kLocationResize, size, mOpName, &mHandle) == 0)
    {
        mSize = size;
        return;
    }
    U_FreeHandle(mHandle);
    mHandle = nullptr;
}
