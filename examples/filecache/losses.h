// Files and folders that could not be read, and files that could not be held.
//
// Thread safety: any thread.

#ifndef FILECACHE_LOSSES_H
#define FILECACHE_LOSSES_H

#include <mutex>
#include <string>
#include <vector>

#include <U_Types.h>

class Losses
{
public:
    struct Unreadable
    {
        std::string path;
        std::string reason;
    };
    struct Refused
    {
        std::string path;
        U_u64 size; // bytes
    };

    // Adds a file or folder that cannot be read, and reports it as a member of one group:
    // U_DisplayPostedErrors shows the group as one numbered alert.
    void AddUnreadable(const std::string& path, const std::string& reason);

    // Adds a file that was read and could not be held.
    void AddRefused(const std::string& path, U_u64 size);

    // Return the lists ordered by path.
    std::vector<Unreadable> AllUnreadable() const;
    std::vector<Refused> AllRefused() const;

private:
    mutable std::mutex mLock; // guards the lists
    std::vector<Unreadable> mUnreadable;
    std::vector<Refused> mRefused;
};

#endif
