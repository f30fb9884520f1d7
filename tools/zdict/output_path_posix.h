// The folder and the name of an output file, after all links of its path.

#ifndef ZDICT_OUTPUT_PATH_POSIX_H
#define ZDICT_OUTPUT_PATH_POSIX_H

#include <string>

#include <sys/stat.h>

#include "system.h"

struct Target
{
    Descriptor mFolder; // for the operations that take a folder and a name in it
    std::string mName;
    bool mExists;
    struct stat mState; // of the file, if it exists; never of a link

    // The name is a link of the proc file system to an open pipe, terminal or socket, which has no
    // path.
    bool mIsDescriptor = false;
};

// Finds the target of an output path.
//
// The path is walked from folder to folder, so that a link that another process creates during
// the walk is not followed.
//
// Throws: Failure
// - for a folder, or the target of a link, that does not exist;
// - for a link of another user in a sticky folder that everybody may write to: that user may
//   aim the link at a file of the follower. This is the rule of the kernel's protected
//   symlinks, for each link of the path.
Target FindTarget(const std::string& path);

#endif
