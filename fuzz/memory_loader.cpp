// Loads images of any form from memory into an empty dictionary and into a loaded one. The
// check and the load into the empty dictionary must agree about damage.

#include "load.h"

#include <hollin/ImageCheck.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const bool damaged = hollin::CheckImage(data, size).mDamaged;
    hollin::Dictionary layered(true);
    const std::uint16_t first[] = {'f', 'i', 'r', 's', 't'};
    layered.SetString("/a", first, sizeof(first), first, 4);
    layered.SetString("/QX/U/Demo", first, sizeof(first));
    layered.RemoveString("/QX/U/Demo");
    Load([&] {
        hollin::Dictionary fresh;
        fresh.LoadFromMemory(data, static_cast<std::int32_t>(size), false);
        Require(fresh.IsGood() != damaged);
        Use(fresh);
    });
    Load([&] { layered.LoadFromMemory(data, static_cast<std::int32_t>(size), true); });
    Use(layered);
    return 0;
}
