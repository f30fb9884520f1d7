// Processes that die on purpose.

#ifndef TESTS_CRASH_CHILD_H
#define TESTS_CRASH_CHILD_H

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

#include "U_Fatal.h"

// The end of a process that exits with the code.
constexpr int ExitWith(int code)
{
    return 1000 + code;
}

// How a process ended, and what it wrote to stderr.
struct Death
{
    int end; // the signal, or ExitWith(code)
    std::string output;

    // Expects this end, and each text as often as its number says. A failure prints the output.
    void Expect(int expected, std::initializer_list<std::pair<std::string, long>> texts = {}) const;

    long Count(const std::string& text) const;

    // The rest of the first line that begins with the text; "none" without such a line.
    std::string Rest(const std::string& beginning) const;
};

// Runs the body in a process of its own and waits for the end of the process. The process ends
// with 0 if the body returns, and by SIGALRM after a minute. The signals of hardware exceptions
// have the system's own actions there, without a sanitizer's.
Death RunToDeath(const std::function<void()>& body);

// Writes the text as a line to stderr in one call, with the id of the thread if asked for. Works
// in a handler.
void Print(const char* text, bool withThread = false);

// The library's log line after the last call.
const char kLastLine[] = "[0] U HANDLER: Returned from app registered handler\n";

// Ends the process with 98 if birth fails.
void Birth();

// A handler that prints the text and the id of its thread.
void PrintCall(void* refcon);

// Sets the handler of the process.
void SetGlobal(U_FatalHandler handler, const char* refcon = "handler on");

// Sends SIGSEGV to the process, as another process would.
void SendSegmentationFault();

#endif
