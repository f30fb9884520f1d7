// The files under a folder.

#ifndef FILECACHE_WALK_H
#define FILECACHE_WALK_H

#include <string>
#include <vector>

#include <U_Abort.h>

#include "losses.h"

struct FoundFiles
{
    std::vector<std::string> names; // relative to the folder, in order
    size_t unreadable = 0;          // folders and entries that couldn't be looked at
};

// Walks the folder and all below it, until the throttler tells to stop. Symbolic
// links aren't followed, and only regular files are found. What can't be looked at
// goes to the losses, and the walk goes on.
FoundFiles WalkFolder(const std::string& folder, Losses& losses, U_UIThrottler& throttler);

#endif
