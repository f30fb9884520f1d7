// What can't be read.

#ifndef FILECACHE_UNREADABLE_H
#define FILECACHE_UNREADABLE_H

#include <string>

// Reports a file or folder that can't be read. Any thread: all of them wait for
// U_DisplayPostedErrors, which shows them as one numbered alert.
void ReportUnreadable(const std::string& path, const std::string& reason);

#endif
