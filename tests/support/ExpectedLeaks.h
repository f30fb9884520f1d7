// Stretches whose blocks are lost on purpose, for the sanitizer that looks for them.

#ifndef TESTS_SUPPORT_EXPECTEDLEAKS_H
#define TESTS_SUPPORT_EXPECTEDLEAKS_H

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
typedef __lsan::ScopedDisabler ScExpectedLeaks;
#else
class ScExpectedLeaks
{
public:
    ScExpectedLeaks() {}
};
#endif

#endif
