// The memory for reading one file.

#ifndef FILECACHE_FILE_BLOCK_H
#define FILECACHE_FILE_BLOCK_H

#include <cstddef>

#include <U_Types.h>

// A recycled block to read through. Where the library refuses it, a small
// buffer of the object's own does.
class ReadBuffer
{
public:
    ReadBuffer();
    ~ReadBuffer();
    ReadBuffer(const ReadBuffer&) = delete;
    ReadBuffer& operator=(const ReadBuffer&) = delete;

    void* Bytes() { return mRecycled ? mRecycled : mSpare; }
    size_t Size() const;

private:
    void* mRecycled;
    unsigned char mSpare[4096];
};

// A hog handle that takes a file's bytes in. Once it is refused it stays so.
class FileBlock
{
public:
    // expectedSize is a guess: the block grows with the bytes read. A size beyond the
    // budget is refused without a purge. opName, which is not copied, names the block in the
    // report of a refusal; null: a refusal is not reported.
    FileBlock(U_u32 hog, U_u64 expectedSize, U_u64 budget, const char* opName);
    ~FileBlock();
    FileBlock(const FileBlock&) = delete;
    FileBlock& operator=(const FileBlock&) = delete;

    void Append(const void* bytes, size_t size);

    bool IsRefused() const { return !mHandle; }

    // Hands the hog handle over, cut to its bytes. Null if it was refused.
    void** Release();

private:
    void Resize(U_u64 size);

    void Free();

    const U_u64 mBudget;
    const char* const mOpName;
    void** mHandle = nullptr;
    U_u64 mSize = 0; // of the block
    U_u64 mUsed = 0; // filled so far
};

#endif
