// Messages on stderr while the program works, and on a terminal a progress line below them.
//
// Thread safety: any thread.

#ifndef FILECACHE_CONSOLE_H
#define FILECACHE_CONSOLE_H

#include <mutex>
#include <string>

class Console
{
public:
    explicit Console(bool verbose);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    bool Verbose() const { return mVerbose; }

    // Writes a text as a line.
    void Print(const std::string& text);

    // Rewrites the progress line, cut to the terminal's width. Does nothing
    // where stderr is no terminal.
    void ShowProgress(const std::string& text);

    // Removes the progress line.
    void EndProgress();

private:
    void EraseProgress(); // mLock is held

    const bool mVerbose;
    const bool mTerminal;
    std::mutex mLock; // guards stderr and mProgressShown
    bool mProgressShown = false;
};

#endif
