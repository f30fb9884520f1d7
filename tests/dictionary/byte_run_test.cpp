#include <cstring>

#include <gtest/gtest.h>

#include <hollin_private/ByteRunValue.h>

TEST(ByteRunValue, KeepsItsOwnCopyOfTheBytes)
{
    char bytes[] = "text";
    const hollin_private::ByteRunValue run(bytes, 4);
    bytes[0] = '!';
    ASSERT_EQ(run.Length(), 4u);
    EXPECT_EQ(std::memcmp(run.Bytes(), "text", 4), 0);
    EXPECT_EQ(hollin_private::ByteRunValue(bytes, 0).Bytes(), nullptr);
}
