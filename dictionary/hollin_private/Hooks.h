// The conversion hooks that are in force.

#ifndef HOLLIN_PRIVATE_HOOKS_H
#define HOLLIN_PRIVATE_HOOKS_H

#include "hollin/ConversionHooks.h"

namespace hollin_private
{
struct Hooks
{
    hollin::CountUnitsHook mCountUnits;
    hollin::ToUnitsHook mToUnits;
    hollin::CountBytesHook mCountBytes;
    hollin::ToBytesHook mToBytes;
    hollin::CompareHook mCompare;
    hollin::TextEncoding mDefaultEncoding; // may be null
};

const Hooks& InstalledHooks();
} // namespace hollin_private

#endif
