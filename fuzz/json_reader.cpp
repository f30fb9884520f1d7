// Is what was read of JSON sound, damaged JSON included? Half of the inputs are UTF-8, the others
// any units.

#include <cstdint>
#include <cstring>

#include "json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    U_UTF16String units(size / 2, 0);
    if (size % 2)
        units = U_UTF8To16String(U_UTF8String(data, data + size));
    else if (size)
        std::memcpy(&units[0], data, size);
    const U_AnyTree tree = ReadJSON(units);
    U_AnyTreeWrapper(tree).GetAs_Str();
    try
    {
        U_AnyTreeWrapper(tree).CreateReverseMapping();
    }
    catch (const boost::property_tree::ptree_error&) // the length of paths has a limit
    {
    }
    return 0;
}
