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
    size_t unreadable = 0;          // folders and entries that could not be read
};

// Returns the path of a file in a folder; with an empty name, of the folder.
std::string JoinedPath(const std::string& folder, const std::string& name);

// Finds the regular files of the folder and of all folders below, until the throttler
// answers that the user has aborted. Symbolic links are not followed. Entries that cannot be
// read are added to the losses.
FoundFiles WalkFolder(const std::string& folder, Losses& losses, U_UIThrottler& throttler);

#endif
