// The files that are held in memory, oldest first.
//
// The cache frees files when the library sends a purge request. The lock of the cache is
// held only while the list changes, never while a block is allocated or freed.
//
// A block larger than the whole budget is refused even if the cache frees every file. A
// caller that requests such a block on purpose, so that the library reports the refusal,
// keeps the files with a KeepFiles.
//
// Thread safety: any thread.

#ifndef FILECACHE_CACHE_H
#define FILECACHE_CACHE_H

#include <atomic>
#include <deque>
#include <mutex>

#include <U_Types.h>

#include "console.h"

struct CachedFile
{
    void** handle;  // a hog handle of the file's bytes
    size_t size;    // how many there are
    U_u64 nameSum;  // the checksum of the name alone
    U_u64 checksum; // of the name and the bytes, as they were read
};

// While the object lives, the cache refuses the purge requests of this thread, if keep is true.
class KeepFiles
{
public:
    explicit KeepFiles(bool keep);
    ~KeepFiles();
    KeepFiles(const KeepFiles&) = delete;
    KeepFiles& operator=(const KeepFiles&) = delete;
};

class FileCache
{
public:
    explicit FileCache(Console& console);
    ~FileCache() { DropOldest(~U_u64(0)); }
    FileCache(const FileCache&) = delete;
    FileCache& operator=(const FileCache&) = delete;

    // The hog that counts the files. Death reports the hog if files are left.
    U_u32 Hog() const { return mHog; }

    // Takes ownership of the handle.
    void Add(const CachedFile& file);

    // Frees the oldest files until that many bytes are freed or no file is left. Compares
    // each file with its checksum first. Returns the bytes freed.
    U_u64 DropOldest(U_u64 bytes);

    // The library's purge request callback; the refcon is the cache.
    static int OnPurgeRequest(void* refcon, U_u64 blockRequest, U_u64 amountToPurge, bool* flag);

    size_t FilesHeld() const;
    U_u64 BytesHeld() const { return mBytesHeld; }
    U_u64 PurgeRequests() const { return mPurgeRequests; }
    U_u64 BytesPurged() const { return mBytesPurged; }

    // The number of files whose bytes had changed since they were read.
    U_u64 Mismatches() const { return mMismatches; }

private:
    bool TakeOldest(CachedFile* file);

    Console& mConsole;
    U_u32 mHog = 0;
    mutable std::mutex mLock; // guards mFiles
    std::deque<CachedFile> mFiles;
    std::atomic<U_u64> mBytesHeld{0};
    std::atomic<U_u64> mPurgeRequests{0};
    std::atomic<U_u64> mBytesPurged{0};
    std::atomic<U_u64> mMismatches{0};
};

#endif
