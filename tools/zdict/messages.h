// What the program tells people, and with which status it ends.

#ifndef ZDICT_MESSAGES_H
#define ZDICT_MESSAGES_H

#include <string>

enum Status
{
    kFine = 0,
    kFaulty = 1,  // the content is damaged, or something isn't found
    kUnusable = 2 // wrong usage, or a file that can't be read or written
};

// Thrown by value by what can't go on. The text is for people; it is empty if
// they have been told already.
struct Failure
{
    Status mStatus;
    std::string mFile; // as people gave it; empty if it is about none
    std::string mWhat;
};

// Writes a line to stderr, with the program's name and the file's, if there is
// one, in front.
void Tell(const std::string& file, const std::string& what);
void Tell(const Failure& failure); // nothing if its text is empty

// The text in double quotes, without the bytes that would steer a terminal, and cut if it
// is very long.
std::string Quoted(const std::string& text);

// Such as "1 text" and "2 texts".
std::string Counted(unsigned long long count, const std::string& thing);

#endif
