// The fixture of the hog tests.

#ifndef TESTS_SUPPORT_HOGS_H
#define TESTS_SUPPORT_HOGS_H

#include <utility>

#include "U_Hog.h"
#include "tests/support/BornLibrary.h"

const U_u32 kFirstId = 0x31415926;

typedef std::pair<U_u32, U_u32> Stats; // the live handles and their bytes

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
        Stats stats(99, 99);
        EXPECT_EQ(U_GetHogStats(mId, &stats.first, &stats.second), 0);
        return stats;
    }

    U_u32 mId = 0;
};

#endif
