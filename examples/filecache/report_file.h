// The figures and losses of a run in a file for other programs.

#ifndef FILECACHE_REPORT_FILE_H
#define FILECACHE_REPORT_FILE_H

#include <string>

#include "figure_table.h"
#include "losses.h"
#include "message.h"

// The ending of the file's name decides the form: .json or .xml.
bool HasReportEnding(const std::string& path);

// Writes a report on the folder to the path, in UTF-8. Bytes of file names that are not
// UTF-8 become U+FFFD; in XML, so do characters that XML does not allow. Returns a message if
// the file cannot be written. After a stop the report has the files that were read to their
// end; the program's status says that the run was stopped.
//
// JSON: {"folder":"F","figures":{"files_read":7,...},
//        "unreadable":[{"path":"P","reason":"R"},...],
//        "refused":[{"path":"P","bytes":8},...]}
// XML: <filecache folder="F"><figure name="files_read">7</figure>...
//      <unreadable reason="R">P</unreadable>...<refused bytes="8">P</refused>...</filecache>
//
// Empty lists are left out.
Message WriteReport(const std::string& path, const std::string& folder, const Table& table,
                    const Losses& losses);

#endif
