// The library as the inputs of a model find it, which lives as long as the process.

#ifndef FUZZ_LIBRARY_H
#define FUZZ_LIBRARY_H

#include <cstdlib>
#include <string>

#include <platform/control.h>

#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "require.h"

// Starts the library, which ends with the process. Reports are counted, and neither shown nor
// logged: the stacks in the log take long.
inline void BeBorn()
{
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    Require(U_Birth("fuzz", nullptr) == 0);
    Up_SetInteract(0);
    std::atexit([] { U_Death(); });
}

inline U_UTF16String Wide(const std::string& ascii)
{
    return U_UTF16String(ascii.begin(), ascii.end());
}

// Returns the code that the body throws, or 0.
template <typename Body> int Thrown(Body body)
{
    try
    {
        body();
        return 0;
    }
    catch (int code)
    {
        return code;
    }
}

#endif
