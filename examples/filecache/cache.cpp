#include "cache.h"

#include <U_Hog.h>
#include <platform/base/thread_local.h>

#include "load_figures.h"
#include "message.h"

namespace
{
PLATFORM_THREAD_LOCAL(bool, tKeepsFiles);
const int kTurnedDown = 1; // ends the library's asking
} // namespace

KeepFiles::KeepFiles(bool keep)
{
    tKeepsFiles = keep;
}

KeepFiles::~KeepFiles()
{
    tKeepsFiles = false;
}

FileCache::FileCache(Console& console) : mConsole(console)
{
    // If the hog cannot be registered, the files are refused, which is reported.
    U_RegisterHog("cached files", &mHog);
    U_SetHogReportingOn(true);
}

void FileCache::Add(const CachedFile& file)
{
    std::lock_guard<std::mutex> lock(mLock);
    mFiles.push_back(file);
    mBytesHeld += file.size;
}

U_u64 FileCache::DropOldest(U_u64 bytes)
{
    U_u64 given = 0;
    CachedFile file;
    while (given < bytes && TakeOldest(&file))
    {
        void* data = nullptr;
        if (U_LockHogHandle(file.handle, &data) != 0 ||
            Checksum(file.nameSum, data, file.size) != file.checksum)
            ++mMismatches;
        U_FreeHogHandle(file.handle);
        given += file.size;
    }
    return given;
}

int FileCache::OnPurgeRequest(void* refcon, U_u64, U_u64 amountToPurge, bool* flag)
{
    FileCache& cache = *static_cast<FileCache*>(refcon);
    U_u64 given = tKeepsFiles ? 0 : cache.DropOldest(amountToPurge);
    ++cache.mPurgeRequests;
    cache.mBytesPurged += given;

    // The cache has too little, so the library may purge the recycled pool.
    if (!tKeepsFiles && given < amountToPurge)
        *flag = true;
    if (cache.mConsole.Verbose())
        cache.mConsole.Print(
            Text({"$$$/QX/FileCache/Status/Purged=asked to purge ^^1 bytes, gave ^^2",
                  {std::to_string(amountToPurge), std::to_string(given)}}));
    return tKeepsFiles ? kTurnedDown : 0;
}

size_t FileCache::FilesHeld() const
{
    std::lock_guard<std::mutex> lock(mLock);
    return mFiles.size();
}

bool FileCache::TakeOldest(CachedFile* file)
{
    std::lock_guard<std::mutex> lock(mLock);
    if (mFiles.empty())
        return false;
    *file = mFiles.front();
    mFiles.pop_front();
    mBytesHeld -= file->size;
    return true;
}
