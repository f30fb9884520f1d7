// Keys, values or comments of a block, by index.
//
// A run stands in the pool, or apart where a pointer is set: what was added one
// by one, and what was replaced by something longer.

#ifndef HOLLIN_PRIVATE_STORED_RUNS_H
#define HOLLIN_PRIVATE_STORED_RUNS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hollin_private/ByteRun.h"
#include "hollin_private/Table.h"

namespace hollin_private
{
class StoredRuns
{
public:
    Table<std::uint32_t> mOffsets; // into mPool; none if all runs stand apart
    Table<std::uint16_t> mLengths; // bytes
    Table<unsigned char> mPool;
    std::vector<OwnedRun> mPointers; // none, or one a run

    // Set if runs of the pool may share bytes; none is overwritten there then.
    bool mSharesPool = false;

    std::size_t Size() const { return mLengths.size(); }

    // Empty beyond the end.
    ByteRun Get(std::size_t index) const
    {
        if (index >= mLengths.size() || !mLengths[index])
            return ByteRun();
        return ByteRun{Place(index), mLengths[index]};
    }

    // The run is copied. What fits is overwritten in place if the place is its
    // own. A failed allocation changes nothing.
    void Replace(std::size_t index, const ByteRun& run);
    void Insert(std::size_t index, const ByteRun& run); // index up to Size()

private:
    bool StandsApart(std::size_t index) const
    {
        return index < mPointers.size() && mPointers[index];
    }

    // Of a run that isn't empty.
    const unsigned char* Place(std::size_t index) const
    {
        if (StandsApart(index))
            return mPointers[index].get();
        return mPool.data() + mOffsets[index];
    }
};
} // namespace hollin_private

#endif
