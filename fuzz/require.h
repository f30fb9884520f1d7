// The check of all targets.

#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

// Ends the run, so that the fuzzer keeps the input. Prints the place of the call.
inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: not as required\n", file, line);
    std::abort();
}

#endif
