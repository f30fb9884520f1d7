#include "loader.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <boost/make_shared.hpp>

#include <U_Budget.h>
#include <U_Report.h>
#include <U_Suspend.h>
#include <U_Threads.h>
#include <platform/base/printable.h>

#include "message.h"
#include "system.h"
#include "telemetry_events.h"
#include "walk.h"

Loader::Loader(const std::string& folder, const std::vector<std::string>& names, U_u64 budget,
               FileCache& cache, Losses& losses, Console& console, U_UIThrottler& throttler)
    : mFolder(folder), mNames(names), mBudget(budget), mCache(cache), mLosses(losses),
      mConsole(console), mThrottler(throttler)
{
}

bool Loader::Run(unsigned int threads)
{
    SampleUse(); // there may be no files
    if (!MakeDecoders(threads))
        return false;
    mStopping = mThrottler.ThrottleAndCheckAbort();
    std::vector<std::thread> started;
    started.reserve(threads);
    mRunning = threads;
    for (unsigned int number = 1; number <= threads; ++number)
    {
        try
        {
            started.emplace_back([this, number] { RunThread(number); });
        }
        catch (const std::system_error& error)
        {
            // Those that run already take its share over.
            mConsole.Print(Text({"$$$/QX/FileCache/Error/NoThread=can't start thread ^^1: ^^2",
                                 {std::to_string(number), error.what()}}));
            mFailed = true;
            std::lock_guard<std::mutex> lock(mLock);
            --mRunning;
        }
    }
    ShowProgressUntilDone();
    for (std::thread& thread : started)
        thread.join();
    mDecoders.reset();
    return !mFailed;
}

bool Loader::MakeDecoders(unsigned int threads)
{
    try
    {
        mDecoders = krobase::threads::CreateAsyncThreadedExecutor(
            "Decoder", static_cast<int>(threads), krobase::threads::kThreadPriorityNormal,
            &U_RegisterRenderThread, &U_DeregisterRenderThread);
        return true;
    }
    catch (const std::exception& error)
    {
        mConsole.Print(Text(
            {"$$$/QX/FileCache/Error/NoDecoders=can't start the decoders: ^^1", {error.what()}}));
        return false;
    }
}

void Loader::RunThread(unsigned int number)
{
    U_RegisterRenderThread();
    U_SetCurrentThreadName(("Loader " + std::to_string(number)).c_str());
    try
    {
        LoadFiles();
    }
    catch (const std::exception& error)
    {
        ReportEarlyEnd(number, error.what());
    }
    catch (int code) // as the library throws it
    {
        ReportEarlyEnd(number, "error " + std::to_string(code));
    }
    U_DeregisterRenderThread();

    std::lock_guard<std::mutex> lock(mLock);
    --mRunning;
    mThreadEnded.notify_one();
}

void Loader::ReportEarlyEnd(unsigned int number, const std::string& why)
{
    mFailed = true;
    U_ReportError(0, U_Sev_PROBLEM,
                  ToUTF16(Text({"$$$/QX/FileCache/Error/LoaderEnds=loader ^^1 ends: ^^2",
                                {std::to_string(number), why}})));
}

void Loader::LoadFiles()
{
    for (size_t at = mNext++; at < mNames.size() && !mStopping; at = mNext++)
    {
        LoadFile(mNames[at]);
        SampleUse();
    }
}

void Loader::LoadFile(const std::string& name)
{
    const U_ContextSetter task(boost::make_shared<FileTask>());
    {
        const std::shared_lock<std::shared_mutex> besideOthers(mTurn);
        if (TryFile(name, false))
            return;
    }
    const std::unique_lock<std::shared_mutex> alone(mTurn);
    TryFile(name, true);
}

bool Loader::TryFile(const std::string& name, bool alone)
{
    const std::string path = JoinedPath(mFolder, name);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(OpenFile(path, "rb"), std::fclose);
    if (!file)
    {
        Unreadable(path, errno);
        return true;
    }

    const U_u64 expected = SizeOf(file.get());
    const bool fits = expected <= mBudget;
    const bool mayWait = fits && !alone;
    const std::string opName = mayWait ? std::string() : OperationName(path, !fits);
    FileBlock block(mCache.Hog(), expected, mBudget, opName.empty() ? nullptr : opName.c_str());
    DecodedFile& decoded = FileTask::CurrentFile();
    decoded.Begin(name);
    if (const int error = Read(file.get(), mayWait, &block))
    {
        Unreadable(path, error);
        return true;
    }
    if (mStopping)
        return true;
    CachedFile entry = decoded.Entry();
    entry.handle = block.Release();
    if (!entry.handle && mayWait)
        return false;

    decoded.End();
    if (entry.handle)
        mCache.Add(entry);
    else
        Refused(path, entry.size);
    return true;
}

int Loader::Read(std::FILE* file, bool untilRefused, FileBlock* block)
{
    std::setvbuf(file, nullptr, _IONBF, 0); // the read buffer is all it takes
    ReadBuffer buffer;
    while (!mStopping && !(untilRefused && block->IsRefused()))
    {
        const size_t got = std::fread(buffer.Bytes(), 1, buffer.Size(), file);
        if (got == 0)
            return std::ferror(file) ? errno : 0;
        DecodeElsewhere(buffer.Bytes(), got);
        block->Append(buffer.Bytes(), got);
    }
    return 0;
}

// The task's context moves to the decoder's thread and back.
void Loader::DecodeElsewhere(const void* bytes, size_t size)
{
    const auto suspended = U_SuspendContext::NewSuspendContext();
    const int code = suspended->CallOnThreadedExecutor(mDecoders, [=] {
        FileTask::CurrentFile().Decode(bytes, size);
        return 0;
    });
    if (code != 0)
        throw std::runtime_error("decoding, error " + std::to_string(code));
}

void Loader::Unreadable(const std::string& path, int error)
{
    mLosses.AddUnreadable(path, std::strerror(error));
    ++mFigures.unreadable;
}

std::string Loader::OperationName(const std::string& path, bool refusalIsCertain)
{
    const bool isPrinted =
        refusalIsCertain ? mIsRefusalPrinted.exchange(true) : mIsRefusalPrinted.load();
    if (isPrinted)
        return std::string();
    return platform::Printable(Text({"$$$/QX/FileCache/Operation/Hold=hold ^^1", {path}}));
}

void Loader::Refused(const std::string& path, U_u64 size)
{
    mIsRefusalPrinted = true;
    ++mFigures.refusals;
    mLosses.AddRefused(path, size);
    LogRefusal();
    if (mConsole.Verbose())
        mConsole.Print(Text({"$$$/QX/FileCache/Status/Refused=refused: ^^1, ^^2 bytes",
                             {path, std::to_string(size)}}));
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

bool Loader::WaitForThreads(std::chrono::milliseconds longest)
{
    std::unique_lock<std::mutex> lock(mLock);
    return mThreadEnded.wait_for(lock, longest, [this] { return mRunning == 0; });
}

// The throttler runs the host's code, so the loaders' lock is not held then.
void Loader::ShowProgressUntilDone()
{
    const std::chrono::milliseconds kRedraw(100);
    while (!WaitForThreads(kRedraw))
    {
        if (mThrottler.ThrottleAndCheckAbort())
            mStopping = true;
        const U_u64 done = mFigures.files + mFigures.unreadable;
        const U_u64 bytes = mFigures.bytes;
        mConsole.ShowProgress(
            Text({"$$$/QX/FileCache/Progress="
                  "files: ^^1 of ^^2, ^^3 MiB read, ^^4 MiB held",
                  {std::to_string(done), std::to_string(mNames.size()), std::to_string(bytes >> 20),
                   std::to_string(mCache.BytesHeld() >> 20)}}));
    }
}
