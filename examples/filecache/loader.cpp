#include "loader.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>

#include <U_Budget.h>
#include <U_Threads.h>

#include "checksum.h"
#include "events.h"
#include "file_block.h"
#include "texts.h"

namespace fs = std::filesystem;

Loader::Loader(const std::string& folder, const std::vector<std::string>& names, U_u64 budget,
               FileCache& cache, Console& console)
    : mFolder(folder), mNames(names), mBudget(budget), mCache(cache), mConsole(console)
{
}

bool Loader::Run(unsigned int threads)
{
    std::vector<std::thread> started;
    started.reserve(threads);
    mRunning = threads;
    SampleUse(); // there may be no files
    for (unsigned int number = 1; number <= threads; ++number)
    {
        try
        {
            started.emplace_back([this, number] { RunThread(number); });
        }
        catch (const std::system_error& error)
        {
            // Those that run already take its share over.
            mConsole.Tell(Text({"$$$/QX/FileCache/Error/NoThread=can't start thread ^^1: ^^2",
                                {std::to_string(number), error.what()}}));
            mFailed = true;
            std::lock_guard<std::mutex> lock(mLock);
            --mRunning;
        }
    }
    WaitForThreads();
    for (std::thread& thread : started)
        thread.join();
    return !mFailed;
}

void Loader::RunThread(unsigned int number)
{
    U_RegisterRenderThread();
    U_SetCurrentThreadName(("Loader " + std::to_string(number)).c_str());
    try
    {
        LoadFiles();
    }
    catch (std::exception& error)
    {
        mConsole.Tell(Text({"$$$/QX/FileCache/Error/LoaderEnds=loader ^^1 ends: ^^2",
                            {std::to_string(number), error.what()}}));
        U_TranslateAndReportException(error);
        mFailed = true;
    }
    U_DeregisterRenderThread();

    std::lock_guard<std::mutex> lock(mLock);
    --mRunning;
    mThreadEnded.notify_one();
}

void Loader::LoadFiles()
{
    for (size_t at = mNext++; at < mNames.size(); at = mNext++)
    {
        LoadFile(mNames[at]);
        SampleUse();
    }
}

void Loader::LoadFile(const std::string& name)
{
    const std::string path = (fs::path(mFolder) / name).string();
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                         std::fclose);
    if (!file)
    {
        mConsole.Tell(Text(CantRead(path, std::strerror(errno))));
        ++mFigures.unreadable;
        return;
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0); // the read buffer below is all it takes

    std::error_code noSize;
    const U_u64 expected = fs::file_size(path, noSize);
    FileBlock block(noSize ? 0 : expected, mBudget);
    ReadBuffer buffer;
    const U_u64 nameSum = Checksum(kChecksumStart, name.c_str(), name.size() + 1);
    U_u64 sum = nameSum;
    U_u64 size = 0;
    while (size_t got = std::fread(buffer.Bytes(), 1, buffer.Size(), file.get()))
    {
        sum = Checksum(sum, buffer.Bytes(), got);
        block.Append(buffer.Bytes(), got);
        size += got;
    }
    if (std::ferror(file.get()))
    {
        mConsole.Tell(Text(CantRead(path, std::strerror(errno))));
        ++mFigures.unreadable;
        return;
    }

    ++mFigures.files;
    mFigures.bytes += size;
    mFigures.checksum += sum;
    if (void** handle = block.Release())
        mCache.Add({handle, static_cast<size_t>(size), nameSum, sum});
    else
    {
        ++mFigures.refusals;
        TellRefusal();
        if (mConsole.Verbose())
            mConsole.Tell(Text({"$$$/QX/FileCache/Told/Refused=refused: ^^1, ^^2 bytes",
                                {path, std::to_string(size)}}));
    }
}

void Loader::SampleUse()
{
    U_u64 use = 0;
    U_GetMemoryStat(U_MemStat_InUse, &use);
    U_u64 peak = mFigures.peakUse;
    while (use > peak && !mFigures.peakUse.compare_exchange_weak(peak, use))
    {
    }
}

void Loader::WaitForThreads()
{
    const std::chrono::milliseconds kRedraw(100);
    std::unique_lock<std::mutex> lock(mLock);
    while (!mThreadEnded.wait_for(lock, kRedraw, [this] { return mRunning == 0; }))
    {
        const U_u64 done = mFigures.files + mFigures.unreadable;
        const U_u64 bytes = mFigures.bytes;
        mConsole.ShowProgress(
            Text({"$$$/QX/FileCache/Progress="
                  "files: ^^1 of ^^2, ^^3 MiB read, ^^4 MiB held",
                  {std::to_string(done), std::to_string(mNames.size()), std::to_string(bytes >> 20),
                   std::to_string(mCache.BytesHeld() >> 20)}}));
    }
}
