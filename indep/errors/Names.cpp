// Of the host and of its machine.

#include "U_Interact.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <win32/machine.h>

#include "indep/errors/Globals.h"
#include "indep/errors/Refuse.h"

namespace
{
const U_u16 kGetNamePlace = 9;
} // namespace

U_Status U_GetName(char* out)
{
    if (!out)
        return BadArgument("U_GetName: no place for the answer");
    if (U_Status damaged = Up_ValidateGlobals(kGetNamePlace))
        return damaged;
    const auto& name = Globals()->mName;
    const std::size_t length = strnlen(name, sizeof(name) - 1); // somebody may write over it
    std::memcpy(out, name, length);
    out[length] = 0;
    return 0;
}

U_i32 U_GetComputerName(U_u32 size, char* out)
{
    if (out && size > 0)
        *out = 0;
    const U_u32 most = std::numeric_limits<int>::max();
    return win32::gethostname(out, static_cast<int>(std::min(size, most)));
}
