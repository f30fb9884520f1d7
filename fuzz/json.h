// Helpers of the targets that read JSON.

#ifndef FUZZ_JSON_H
#define FUZZ_JSON_H

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "require.h"

// Returns the tree that was read before the end, a wrong literal or the depth limit.
inline U_AnyTree ReadJSON(const U_UTF16String& json)
{
    U_AnyTree tree;
    try
    {
        U_AnyTreeWrapper(tree).SetFrom_JSON(json);
    }
    catch (const boost::bad_any_cast&)
    {
    }
    catch (const boost::property_tree::ptree_error&)
    {
    }
    return tree;
}

#endif
