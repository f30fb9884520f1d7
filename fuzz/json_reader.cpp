// Reads JSON from arbitrary units and from UTF-8 text. A tree that JSON can represent is
// written, read and written again with the same result.

#include <cmath>
#include <cstdint>
#include <cstring>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "require.h"

namespace
{
// Returns the tree that was read before the end, a wrong literal or the depth limit.
U_AnyTree Read(const U_UTF16String& json)
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

// Calls further operations of a tree. The length of paths has a limit.
void Use(const U_AnyTree& tree)
{
    U_AnyTreeWrapper(tree).GetAs_Str();
    try
    {
        U_AnyTreeWrapper(tree).CreateReverseMapping();
    }
    catch (const boost::property_tree::ptree_error&)
    {
    }
}

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
    U_UTF16String units(size / 2, 0);
    if (!units.empty())
        std::memcpy(&units[0], data, units.size() * 2);
    const U_AnyTree odd = Read(units);
    Written(odd);
    Use(odd);

    const U_AnyTree tree = Read(U_UTF8To16String(U_UTF8String(data, data + size)));
    Use(tree);
    const U_UTF16String written = Written(tree);
    if (IsWritable(tree))
        Require(Written(Read(written)) == written);
    return 0;
}
