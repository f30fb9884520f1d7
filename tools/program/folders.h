// Folders and the types of files, with links seen as links on every system. Names are UTF-8;
// where the system's names are bytes, they are those bytes.

#ifndef PROGRAM_FOLDERS_H
#define PROGRAM_FOLDERS_H

#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

// Returns the type of a folder or of another file, after all links; `not_found` if there is no such
// file; `none`, with the error, if the type is not known.
std::filesystem::file_type TypeOf(const std::string& path, std::error_code& error);

// Receives the name of an entry of a folder, and its type; `none`, with the error, if the type is
// not known. Returns false to end the listing.
typedef std::function<bool(const std::string& name, std::filesystem::file_type type,
                           const std::error_code& error)>
    TakeEntry;

// Lists the entries of a folder. Links are not followed. Returns the error that ended the listing.
std::error_code ListFolder(const std::string& path, const TakeEntry& take);

#endif
