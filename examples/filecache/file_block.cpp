#include "file_block.h"

#include <cstring>

#include <U_Alloc.h>

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

ReadBuffer::ReadBuffer() : mRecycled(U_AllocateRecycledPtr(kLocationRead, "Read a file", kChunk)) {}

ReadBuffer::~ReadBuffer()
{
    U_FreeRecycledPtr(mRecycled);
}

size_t ReadBuffer::Size() const
{
    return mRecycled ? kChunk : sizeof mSpare;
}

FileBlock::FileBlock(U_u64 expectedSize, U_u64 limit) : mLimit(limit)
{
    if (expectedSize > mLimit)
        return;
    mHandle = U_AllocateHandle(kLocationHold, "Hold a file", expectedSize);
    mSize = expectedSize;
}

FileBlock::~FileBlock()
{
    U_FreeHandle(mHandle);
}

void FileBlock::Append(const void* bytes, size_t size)
{
    if (mHandle && size > mSize - mUsed)
        Resize(mUsed + size);
    if (!mHandle)
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
    if (size > mLimit || U_ResizeHandle(kLocationResize, size, "Hold a file", &mHandle) != 0)
        Refuse();
    else
        mSize = size;
}

void FileBlock::Refuse()
{
    U_FreeHandle(mHandle);
    mHandle = nullptr;
}
