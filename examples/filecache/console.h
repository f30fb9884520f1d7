// What the user sees on stderr while the program works: messages, and on a
// terminal a progress line below them. Any thread.

#ifndef FILECACHE_CONSOLE_H
#define FILECACHE_CONSOLE_H

#include <mutex>

class Console
{
public:
    explicit Console(bool verbose);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    bool Verbose() const { return mVerbose; }

    // Writes a message, as for printf, on a line of its own.
    void Tell(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Rewrites the progress line, cut to the terminal's width. Does nothing
    // where stderr is no terminal.
    void ShowProgress(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Takes the progress line away.
    void EndProgress();

private:
    void EraseProgress(); // mLock is held

    const bool mVerbose;
    const bool mTerminal;
    std::mutex mLock; // guards stderr and mProgressShown
    bool mProgressShown = false;
};

#endif
