// Messages on standard error, and the status of the program.

#ifndef ZDICT_MESSAGES_H
#define ZDICT_MESSAGES_H

#include <string>

enum Status
{
    kFine = 0,
    kFaulty = 1,  // the content is damaged, or something isn't found
    kUnusable = 2 // wrong usage, or a file that can't be read or written
};

// Thrown by value by every operation of a command that can't continue.
struct Failure
{
    Status mStatus;
    std::string mFile;     // as in the command line; empty if the failure is not of one file
    std::string mWhat;     // empty if the failure has been reported
    bool mIsPlace = false; // mFile is a place in a file, as file:line:column
};

// Writes a line to standard error, with the names of the program and of the file, if there is
// one.
void Report(const std::string& file, const std::string& what);
void Report(const Failure& failure); // writes nothing if mWhat is empty

// Writes a line with a place in a file, as file:line:column, which editors understand.
void ReportAt(const std::string& place, const std::string& what);

// Returns the text in double quotes, without the bytes that would steer a terminal. A very
// long text is cut.
std::string Quoted(const std::string& text);

// Returns such texts as "1 text" and "2 texts".
std::string Counted(unsigned long long count, const std::string& thing);

#endif
