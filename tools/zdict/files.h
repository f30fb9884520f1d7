// Whole files, read and written. A failure is thrown.

#ifndef ZDICT_FILES_H
#define ZDICT_FILES_H

#include <string>
#include <vector>

extern const char* const kStandardStream; // what stands for stdin and stdout

struct InputFile
{
    std::string mName; // for people
    std::vector<unsigned char> mBytes;
};

// Reads a file, or stdin, of at most 2 GiB - 1, as sizes of images are signed
// 32-bit. stdin can be read once.
InputFile ReadFile(const std::string& name);

enum class Content
{
    kText,  // in UTF-8; a terminal gets escapes for what would steer it
    kBinary // isn't written to a terminal
};

// Writes a file, or stdout. A file is there whole or, after a failure, as it
// was: its bytes go to a file beside it that then takes its name. It keeps its
// permissions. What is no regular file is written to where it stands.
void WriteFile(const std::string& name, const std::string& bytes, Content content);

#endif
