// Properties of the system that runs the tests.

#ifndef TESTS_SUPPORT_SYSTEM_H
#define TESTS_SUPPORT_SYSTEM_H

#include <cstddef>
#include <string>
#include <vector>

// How processes end, as their parents see it: by a signal on POSIX systems, with a status of 32
// bits on Windows. These are the ends of failures that no code of the process has handled.
extern const int kBadAccess;
extern const int kIllegalInstruction;
extern const int kDivisionByZero;
extern const int kFloatDivisionByZero;
extern const int kAborted; // by std::abort, and so by std::terminate
extern const int kInvalidParameter;
extern const int kPureVirtualCall;

// The end of a process that exits with the code.
int ExitWith(int code);

// Returns the end of a process out of the system's status.
int EndOf(int status);

// The predicate of EXPECT_EXIT for an end.
inline auto EndsBy(int end)
{
    return [end](int status) { return EndOf(status) == end; };
}

// Returns whether this is Windows, and whether that is Wine, which lacks some of the system.
bool IsWindows();
bool IsWine();

// The names that the system itself keeps, in UTF-8.
std::string NetworkName(); // in the form of gethostname
std::string MachineName(); // of the machine's label
std::string UserName();

// The name of the calling thread, and the most bytes of a name that is kept.
std::string ThreadName();
extern const std::size_t kLongestThreadName;

// Returns whether the calling thread has a lower priority than the process.
bool HasLowPriority();

// Returns the seconds since the machine started.
double SecondsSinceStart();

// Returns whether the system can read the byte. A read here would fail.
bool IsReadable(const void* address);

// A range of memory that holds whole words.
struct Words
{
    void** mFirst;
    void** mEnd;
};

// Returns the variables of the loaded library U, which other threads may write at any time.
std::vector<Words> VariablesOfU();

// Takes the desktop from the process for a scope: a process without one, such as a service, has no
// message boxes. POSIX systems have neither.
class ScNoDesktop
{
public:
    ScNoDesktop();
    ~ScNoDesktop();
    ScNoDesktop(const ScNoDesktop&) = delete;
    ScNoDesktop& operator=(const ScNoDesktop&) = delete;

private:
    [[maybe_unused]] void* mStation = nullptr;
    [[maybe_unused]] void* mBefore = nullptr;
};

// Sets a variable of the environment; null removes the variable.
void SetVariable(const char* name, const char* value);

#endif
