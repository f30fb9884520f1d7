// Processes that die on purpose.

#ifndef TESTS_CRASH_CHILD_H
#define TESTS_CRASH_CHILD_H

#include <functional>
#include <string>

#include "U_Fatal.h"

// How a process ended, and what it wrote to stderr.
struct Death
{
    int status; // of waitpid
    std::string told;

    bool BySignal(int signal) const;
    bool WithCode(int code) const;

    // How often it told of something, and the first line that begins with it.
    long Count(const std::string& text) const;
    std::string Line(const std::string& beginning) const;
};

// Runs body in a process of its own, which ends with 0 if that returns, and waits until
// it is dead. Once it has told of lastWords, if any are given, or after a minute, it is killed.
// The signals of hardware exceptions do there what the system does: without a sanitizer.
Death RunToDeath(const std::function<void()>& body, const std::string& lastWords = "");

// Writes a line to stderr in one call, also where nothing else works: text, and the
// thread's id if asked for.
void Tell(const char* text, bool withThread = false);

// What the library writes when the last call is over.
const char kLastLine[] = "[0] U HANDLER: Returned from app registered handler\n";

// Ends the process with 98 if there is no birth.
void Birth();

// A handler that tells of its call and of the thread, and how it becomes the process's.
void TellOfCall(void* refcon);
void SetGlobal(U_FatalHandler handler, const char* refcon = "handler on");

// To the process, as another one does.
void SendSegmentationFault();

#endif
