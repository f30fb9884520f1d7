// How the user stops the program: the Escape key, or Ctrl-C in its place.

#ifndef FILECACHE_STOP_H
#define FILECACHE_STOP_H

#include <thread>

#include <termios.h>

#include <U_Abort.h>

// Makes both into messages of the main thread's queue, as a keyboard's. A second
// Ctrl-C ends the program at once. One that was started with SIGINT ignored, as
// shells do in the background, leaves it so. Where the system hasn't what this
// needs, Ctrl-C ends the program as usual.
class StopKeys
{
public:
    // On the main thread, before there are others: they are all to leave SIGINT to
    // this object.
    StopKeys();

    // Puts the terminal and the signal back.
    ~StopKeys();
    StopKeys(const StopKeys&) = delete;
    StopKeys& operator=(const StopKeys&) = delete;

private:
    bool Open();
    void Watch();
    void OnInterrupt();
    bool OnTerminal();
    void PostEscape();
    void TakeTerminal();
    void RestoreTerminal();

    const unsigned int mMainThread;
    int mInterrupts = -1; // readable once there was a SIGINT
    int mEnd = -1;        // readable once the watch is to end
    bool mHasTerminal = false;
    termios mTerminal = {}; // as it was found
    std::thread mWatch;
};

// The abort check of all loops of the main thread, which remembers an abort.
class StopCheck final : public U_UIThrottler
{
public:
    bool ThrottleAndCheckAbort() override;
    bool HasStopped() const { return mHasStopped; }

private:
    bool mHasStopped = false;
};

#endif
