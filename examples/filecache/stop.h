// How the user stops the program: the Escape key, or Ctrl-C in its place.

#ifndef FILECACHE_STOP_H
#define FILECACHE_STOP_H

#include <memory>

#include <U_Abort.h>

// Posts a key message to the main thread's queue for both, as a keyboard would. A second
// Ctrl-C ends the program at once. A program that was started with Ctrl-C ignored, as shells
// do in the background, leaves Ctrl-C ignored. If the system lacks a service that the object
// needs, Ctrl-C ends the program as usual.
class StopKeys
{
public:
    // REQUIRES: on the main thread, before other threads start. All threads leave Ctrl-C to
    // this object.
    StopKeys();

    // Restores the terminal and the effect of Ctrl-C.
    ~StopKeys();
    StopKeys(const StopKeys&) = delete;
    StopKeys& operator=(const StopKeys&) = delete;

private:
    class Watch; // one for each operating system

    std::unique_ptr<Watch> mWatch; // null if Ctrl-C is ignored
};

const unsigned char kEscape = 27; // as a key, and as a byte of the terminal

// Makes the calling thread's queue. Before, other threads can't post to the thread.
void MakeQueue();

// Posts the Escape key to the thread.
void PostEscape(unsigned int threadId);

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
