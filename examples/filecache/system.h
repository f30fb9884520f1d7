// The operations that each operating system has in a form of its own. Texts and names of files
// are UTF-8; where the system's names are bytes, they are those bytes.

#ifndef FILECACHE_SYSTEM_H
#define FILECACHE_SYSTEM_H

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

// Prepares the standard streams for bytes and for UTF-8 until the end of its scope, which is that
// of main.
class ProgramStart
{
public:
    ProgramStart(int argc, char** argv);
    ~ProgramStart();
    ProgramStart(const ProgramStart&) = delete;
    ProgramStart& operator=(const ProgramStart&) = delete;

    // Returns the arguments, the first of them the program's name.
    const std::vector<std::string>& Arguments() const { return mArguments; }

private:
    std::vector<std::string> mArguments;
    std::shared_ptr<void> mTerminal; // restores the terminal
};

// Returns the path of the program's file, or the empty text if the system does not know it.
std::string ProgramFile();

// Returns a folder with many files, which every installation of the system has.
std::string DefaultFolder();

// Opens a file in one of the modes of fopen, which names "b" for bytes. Returns null with the
// reason in errno.
std::FILE* OpenFile(const std::string& path, const char* mode);

// Returns the path in the form for std::filesystem.
std::filesystem::path SystemPath(const std::string& path);

// Receives the name of an entry of a folder, and its type; `none`, with the error, if the type is
// not known. Returns false to end the listing.
typedef std::function<bool(const std::string& name, std::filesystem::file_type type,
                           const std::error_code& error)>
    TakeEntry;

// Lists the entries of a folder. Links are not followed. Returns the error that ended the listing.
std::error_code ListFolder(const std::string& path, const TakeEntry& take);

// Return whether stderr is a terminal that understands escape sequences, and its columns.
bool IsTerminal();
size_t TerminalWidth();

#endif
