#ifndef U_ANYTREE_H
#define U_ANYTREE_H

#include <functional>

#include <boost/property_tree/ptree.hpp>

#include "U_Any.h"
#include "U_Types.h"

// Each node has a value and children in order, each under a key; several may
// have the same key.
typedef boost::property_tree::basic_ptree<U_UTF16String, U_Any, std::less<U_UTF16String>> U_AnyTree;

#endif
