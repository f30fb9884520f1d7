#include "walk.h"

#include <algorithm>
#include <filesystem>

#include <program/folders.h>

namespace fs = std::filesystem;

namespace
{
class Walker
{
public:
    Walker(const std::string& top, Losses& losses, U_UIThrottler& throttler)
        : mTop(top), mLosses(losses), mThrottler(throttler)
    {
    }

    FoundFiles Walk()
    {
        // A list in place of recursion: a tree may be deep.
        mWaiting.push_back(std::string());
        while (!mWaiting.empty() && !mThrottler.ThrottleAndCheckAbort())
        {
            const std::string folder = mWaiting.back();
            mWaiting.pop_back();
            WalkOne(folder);
        }
        std::sort(mFound.names.begin(), mFound.names.end());
        return std::move(mFound);
    }

private:
    void WalkOne(const std::string& folder)
    {
        const auto take = [&](const std::string& name, fs::file_type type,
                              const std::error_code& error) {
            Sort(JoinedPath(folder, name), type, error);
            return !mThrottler.ThrottleAndCheckAbort();
        };
        if (const std::error_code error = ListFolder(JoinedPath(mTop, folder), take))
            Unreadable(folder, error);
    }

    void Sort(const std::string& name, fs::file_type type, const std::error_code& error)
    {
        if (type == fs::file_type::none)
            Unreadable(name, error);
        else if (type == fs::file_type::directory)
            mWaiting.push_back(name);
        else if (type == fs::file_type::regular)
            mFound.names.push_back(name);
    }

    void Unreadable(const std::string& name, const std::error_code& error)
    {
        mLosses.AddUnreadable(JoinedPath(mTop, name), error.message());
        ++mFound.unreadable;
    }

    const std::string mTop;
    Losses& mLosses;
    U_UIThrottler& mThrottler;
    std::vector<std::string> mWaiting;
    FoundFiles mFound;
};
} // namespace

std::string JoinedPath(const std::string& folder, const std::string& name)
{
    return (fs::u8path(folder) / fs::u8path(name)).generic_u8string();
}

FoundFiles WalkFolder(const std::string& folder, Losses& losses, U_UIThrottler& throttler)
{
    return Walker(folder, losses, throttler).Walk();
}
