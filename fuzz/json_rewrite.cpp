// Has a tree that JSON can represent the same JSON text after the tree was written and read again?

#include <cmath>
#include <cstdint>

#include "json.h"

namespace
{
U_UTF16String Written(const U_AnyTree& tree)
{
    return U_AnyTreeWrapper(tree).GetAs_JSON();
}

// JSON has no infinite numbers. A number that rounds to "-0" is read as the integer 0.
bool IsWritable(double value)
{
    return std::isfinite(value) && (value >= 0 || U_Any(value).GetAs_Str().size() > 2);
}

// Returns whether JSON can represent the tree: no empty trees, no elements among members,
// writable numbers only.
bool IsWritable(const U_AnyTree& tree)
{
    for (const auto& [key, child] : tree)
    {
        const bool isTree = child.data().GetType() == U_Any::kType_Tree;
        if (key.empty() != tree.front().first.empty() || (isTree && child.empty()) ||
            (isTree && !IsWritable(child)))
            return false;
        if (child.data().GetType() == U_Any::kType_Double &&
            !IsWritable(child.data().GetAs_double()))
            return false;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const U_AnyTree tree = ReadJSON(U_UTF8To16String(U_UTF8String(data, data + size)));
    const U_UTF16String written = Written(tree);
    U_AnyTreeWrapper(tree).GetAs_Str();
    try
    {
        U_AnyTreeWrapper(tree).CreateReverseMapping();
    }
    catch (const boost::property_tree::ptree_error&) // the length of paths has a limit
    {
    }
    if (!IsWritable(tree))
        return 0;
    const U_AnyTree again = ReadJSON(written);
    Require(Written(again) == written);
    return 0;
}
