// Processes that die on purpose.

#ifndef TESTS_CRASH_CHILD_H
#define TESTS_CRASH_CHILD_H

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "U_Fatal.h"
#include "examples/filecache/crashes.h"
#include "tests/support/System.h"

// How a process ended, and what it wrote to stderr.
struct Death
{
    int end; // one of tests/support/System.h
    std::string output;

    // Expects this end, and each text as often as its number says. A failure prints the output.
    void Expect(int expected, std::initializer_list<std::pair<std::string, long>> texts = {}) const;

    long Count(const std::string& text) const;

    // The rest of the first line that begins with the text; "none" without such a line.
    std::string Rest(const std::string& beginning) const;
};

// Runs the body in a process of its own and waits for the end of the process. The process ends
// with 0 if the body returns, and is killed after a minute. Hardware exceptions have the system's
// own actions there, without a sanitizer's.
//
// On Windows the process is this program again, which repeats the test up to this call: the test
// makes the same calls each time, and the body changes nothing outside of its process.
Death RunToDeath(const std::function<void()>& body);

// A hardware exception of one system.
struct SystemCrash
{
    const char* what;
    Crash crash;
    int end;
};
std::vector<SystemCrash> SystemCrashes();

// Sets the action of the host for an access to memory that is not allowed, which the system takes
// if nothing else handles the access.
void SetBadAccessAction(void (*action)(int signal));

// Sends SIGSEGV to the process, as another process would. On POSIX systems only.
void SendSegmentationFault();

// Writes the text as a line to stderr in one call, with the id of the thread if asked for. Works
// in a handler.
void Print(const char* text, bool withThread = false);

// Writes the bytes to stderr in one call, and returns whether they are written.
bool WriteRaw(const char* text, std::size_t length);

// Waits until the process is killed.
[[noreturn]] void WaitForTheEnd();

// The library's log line after the last call.
const char kLastLine[] = "[0] U HANDLER: Returned from app registered handler\n";

// A handler that prints the text and the id of its thread.
void PrintCall(void* refcon);

// Sets the handler of the process.
void SetGlobal(U_FatalHandler handler, const char* refcon = "handler on");

// Begins a life, and sets a handler if one is given. Ends the process with 98 if birth fails.
void Birth(U_FatalHandler handler = nullptr);

#endif
