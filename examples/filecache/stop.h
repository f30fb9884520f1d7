// How the user stops the program: the Escape key, or Ctrl-C in its place.

#ifndef FILECACHE_STOP_H
#define FILECACHE_STOP_H

#include <thread>

#include <termios.h>

#include <U_Abort.h>

// Posts a key message to the main thread's queue for both, as a keyboard would. A second
// Ctrl-C ends the program at once. A program that was started with SIGINT ignored, as shells
// do in the background, leaves SIGINT ignored. If the system lacks a service that the object
// needs, Ctrl-C ends the program as usual.
class StopKeys
{
public:
    // REQUIRES: on the main thread, before other threads start. All threads leave SIGINT to
    // this object.
    StopKeys();

    // Restores the terminal and the signal.
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

// The abort check of all loops of the main thread. Remembers an abort.
class StopCheck final : public U_UIThrottler
{
public:
    bool ThrottleAndCheckAbort() override;
    bool HasStopped() const { return mHasStopped; }

private:
    bool mHasStopped = false;
};

#endif
