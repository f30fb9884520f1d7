// The check of all targets.

#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdlib>

// Ends the run, so that the fuzzer keeps the input.
inline void Require(bool holds)
{
    if (!holds)
        std::abort();
}

#endif
