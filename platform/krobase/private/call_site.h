// The place of a call in the source code, which each system looks up in its own way.

#ifndef KROBASE_PRIVATE_CALL_SITE_H
#define KROBASE_PRIVATE_CALL_SITE_H

#include <cstddef>
#include <string>

namespace krobase
{
namespace debug
{
// Return the function, the path of the source file and the line that an address belongs to;
// empty or 0 if that is not known.
//
// Throws: a std::exception.
// REQUIRES: one thread at a time calls these functions.
std::string FunctionAt(const void* address);
std::string PathAt(const void* address);
std::size_t LineAt(const void* address);
} // namespace debug
} // namespace krobase

#endif
