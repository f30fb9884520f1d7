// Scopes in which the leak checker ignores allocations, for tests that leak on purpose.

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
