// The fixture of the hog tests.

#ifndef TESTS_SUPPORT_HOGS_H
#define TESTS_SUPPORT_HOGS_H

#include <ostream>

#include "U_Hog.h"
#include "tests/support/BornLibrary.h"

const U_u32 kFirstId = 0x31415926;
const U_u32 kLocation = 0x120034;

struct Stats
{
    U_u32 mHandles = 99;
    U_u32 mBytes = 99;
    bool operator==(const Stats& other) const
    {
        return mHandles == other.mHandles && mBytes == other.mBytes;
    }
};

inline void PrintTo(const Stats& stats, std::ostream* out)
{
    *out << stats.mHandles << " handles, " << stats.mBytes << " bytes";
}

// A born library with one registered hog.
class Hogs : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        ASSERT_EQ(U_RegisterHog("test", &mId), 0);
        ASSERT_EQ(mId, kFirstId);
    }

    void** New(U_u64 size, U_u32 flags = 0)
    {
        void** handle = nullptr;
        EXPECT_EQ(U_NewHogHandle(mId, kLocation, "a hog", size, flags, &handle), 0);
        return handle;
    }

    Stats Count()
    {
        Stats stats;
        EXPECT_EQ(U_GetHogStats(mId, &stats.mHandles, &stats.mBytes), 0);
        return stats;
    }

    U_u32 mId = 0;
};

#endif
