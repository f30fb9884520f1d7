// The operations that each operating system has in a form of its own. Texts and names of files
// are UTF-8; where the system's names are bytes, they are those bytes.

#ifndef FILECACHE_SYSTEM_H
#define FILECACHE_SYSTEM_H

#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

// Returns the path of the program's file. On failure returns the empty text and stores the error.
std::string ProgramFile(std::error_code& error);

// Returns a folder with many files, which every installation of the system has.
std::string DefaultFolder();

// Runs a program to its end. The first argument is the program's path. Returns whether the program
// ended with the status 0. Stores the error with which the system could not run the program, or no
// error.
bool RunProgram(const std::vector<std::string>& arguments, std::error_code& error);

// Opens a file in one of the modes of fopen, which names "b" for bytes. Returns null with the
// reason in errno.
std::FILE* OpenFile(const std::string& path, const char* mode);

// Returns the size of an open regular file in bytes; 0 for any other file, and on failure.
unsigned long long SizeOf(std::FILE* file);

#endif
