// A line on a terminal with how far a command is.

#ifndef ZDICT_EXTRACT_PROGRESS_H
#define ZDICT_EXTRACT_PROGRESS_H

#include <chrono>
#include <cstddef>

// Writes to stderr if stderr is a terminal, and removes the line at the end.
class Progress
{
public:
    // `thing` is as "file".
    Progress(const char* thing, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::size_t done);

private:
    const char* const mThing;
    const std::size_t mTotal;
    const bool mIsTerminal;
    bool mIsShown = false;
    std::chrono::steady_clock::time_point mLast;
};

#endif
