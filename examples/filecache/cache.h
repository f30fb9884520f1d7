// The files that are held in memory, oldest first.
//
// The cache answers the library's purge requests. Any thread; its lock is held
// only while the list changes, never while a block is allocated or freed.
//
// A block that is larger than the whole budget is refused whatever gives way for
// it. Who asks for one anyway, so that the library tells the user, keeps the files
// in the cache with a KeepFiles.

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

// Turns the purge requests of its thread down while it lives, if keep is true.
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

    // The hog that its files are counted under, to be named if some are left at the
    // library's death.
    U_u32 Hog() const { return mHog; }

    // Takes the handle over.
    void Add(const CachedFile& file);

    // Frees the oldest files until that many bytes are given back, or none is
    // left. Each is checked against its checksum first. Returns the bytes.
    U_u64 DropOldest(U_u64 bytes);

    // The library's purge request callback; the refcon is the cache.
    static int OnPurgeRequest(void* refcon, U_u64 blockRequest, U_u64 amountToPurge, bool* flag);

    size_t FilesHeld() const;
    U_u64 BytesHeld() const { return mBytesHeld; }
    U_u64 PurgeRequests() const { return mPurgeRequests; }
    U_u64 BytesPurged() const { return mBytesPurged; }

    // Files whose bytes were no longer what had been read.
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
