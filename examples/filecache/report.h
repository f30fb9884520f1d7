// The figures and losses of a run in a file for other programs.

#ifndef FILECACHE_REPORT_H
#define FILECACHE_REPORT_H

#include <string>

#include "losses.h"
#include "table.h"
#include "texts.h"

// The form of the file goes by the ending of its name, .json or .xml.
bool HasReportEnding(const std::string& path);

// Writes a report on the folder to the path, in UTF-8. What isn't UTF-8 in the
// names of files becomes U+FFFD, and in XML what that can't carry, too. Returns
// what is wrong with the file. Of a run that was stopped it has what was read to its
// end; that it was is told by the program's status.
//
// JSON: {"folder":"F","figures":{"files_read":7,...},
//        "unreadable":[{"path":"P","reason":"R"},...],
//        "refused":[{"path":"P","bytes":8},...]}
// XML: <filecache folder="F"><figure name="files_read">7</figure>...
//      <unreadable reason="R">P</unreadable>...<refused bytes="8">P</refused>...</filecache>
//
// Where nothing was lost, the lists aren't there.
Message WriteReport(const std::string& path, const std::string& folder, const Table& table,
                    const Losses& losses);

#endif
