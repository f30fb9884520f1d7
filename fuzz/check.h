// The question of the targets that compare the check of an image with its load.

#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <hollin/ImageCheck.h>

#include "load.h"

// The check and a load into an empty dictionary agree about damage, and the check's figure of
// live entries is the number of entries that a walk finds.
inline void RequireCheckAgrees(const std::uint8_t* data, std::size_t size)
{
    const hollin::ImageReport report = hollin::CheckImage(data, size);
    hollin::Dictionary dictionary;
    Require(Load(dictionary, data, size) != report.mDamaged);
    if (report.mDamaged)
    {
        Require(!report.mField.empty() && !report.mProblem.empty());
        return;
    }
    if (report.mForm == hollin::ImageReport::kText || !report.mKeyed)
        return; // equal keys of a text count once; a store without keys marks no removed slots
    std::uint64_t live = 0;
    std::uint32_t id = 0;
    while (dictionary.NextId(&id))
        live += report.mMajor == 1 || dictionary.CurrentKey(nullptr, 0, false) != 0;
    Require(live == report.mLive);
}

#endif
