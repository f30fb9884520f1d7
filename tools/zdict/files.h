// Reads and writes whole files.
//
// Throws: Failure, from each function.

#ifndef ZDICT_FILES_H
#define ZDICT_FILES_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

extern const char* const kStandardStream; // "-", for stdin and stdout

struct InputFile
{
    std::string mName; // for messages
    std::vector<unsigned char> mBytes;
};

// Reads a file, or stdin, of at most 2 GiB - 1, since the sizes of images are signed 32-bit
// integers. stdin can be read once.
InputFile ReadFile(const std::string& name);

// The bytes of a file in place. They are not copied, and the system reads only what is used.
struct MappedFile
{
    std::shared_ptr<const unsigned char> mBytes; // null if the file can't be mapped
    std::size_t mSize = 0;
};

// Maps a regular file. Returns null bytes for any other file, and on failure, which ReadFile then
// reports.
//
// A program ends by a signal if another program cuts the file short while it is mapped. zdict
// itself replaces files by new ones.
MappedFile MapFile(const std::string& name);

enum class Content
{
    kText,  // in UTF-8; bytes that would steer a terminal are escaped there
    kBinary // not written to a terminal
};

// Writes a file, or stdout. A regular file is replaced at once by a new file with the same
// permissions, so that a failure leaves the old file. Any other file is written in place.
void WriteFile(const std::string& name, const std::string& bytes, Content content);

#endif
