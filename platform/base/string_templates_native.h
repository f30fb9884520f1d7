// Comes before each source of a build for Windows. The members of std::string that libstdc++ has
// instantiated call the operator new of that DLL, so each module instantiates its own.

#ifndef PLATFORM_BASE_STRING_TEMPLATES_NATIVE_H
#define PLATFORM_BASE_STRING_TEMPLATES_NATIVE_H

#include <bits/c++config.h>

// -1 affects std::basic_string alone. Other templates have static members, such as the ids of
// facets, of which a process has one.
#undef _GLIBCXX_EXTERN_TEMPLATE
#define _GLIBCXX_EXTERN_TEMPLATE -1

#endif
