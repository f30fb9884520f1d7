// Finds source files by their names.

#ifndef ZDICT_EXTRACT_SOURCE_FILES_H
#define ZDICT_EXTRACT_SOURCE_FILES_H

#include <string>
#include <vector>

// Returns the operands that are no folders, and all sources of C, C++ and Objective-C below those
// that are, each file once. Hidden files, hidden folders and links to folders are skipped. The
// names of a folder are in the order of their bytes.
//
// A pattern without a slash is compared with the names of files and folders below an operand, a
// pattern with a slash with their paths from there. What matches is skipped.
//
// Throws: Failure.
std::vector<std::string> FindSources(const std::vector<std::string>& operands,
                                     const std::vector<std::string>& excludes);

#endif
