// The operations that each operating system has in a form of its own. Texts and names of files
// are UTF-8; where the system's names are bytes, they are those bytes.

#ifndef FILECACHE_SYSTEM_H
#define FILECACHE_SYSTEM_H

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

// Returns the path of the program's file. On failure returns the empty text and stores the error.
std::string ProgramFile(std::error_code& error);

// Returns a folder with many files, which every installation of the system has.
std::string DefaultFolder();

// Runs a program to its end. The first argument is the program's path. Returns whether the program
// ended with the status 0; otherwise stores the error.
bool RunProgram(const std::vector<std::string>& arguments, std::error_code& error);

// Opens a file in one of the modes of fopen, which names "b" for bytes. Returns null with the
// reason in errno.
std::FILE* OpenFile(const std::string& path, const char* mode);

// Returns the size of an open regular file in bytes; 0 for any other file, and on failure.
unsigned long long SizeOf(std::FILE* file);

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
