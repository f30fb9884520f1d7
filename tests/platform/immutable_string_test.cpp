#include <krobase/immutable_string.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/support/OnThreads.h"

using krobase::utility::ImmutableString;

namespace
{
TEST(ImmutableStrings, EqualTextsShareOneCopy)
{
    const std::string text = "a text from elsewhere";
    const ImmutableString first(text.c_str());
    const ImmutableString second(std::string(text).c_str());
    const ImmutableString other("a text");
    EXPECT_EQ(first.Text(), second.Text()) << "the same bytes";
    EXPECT_NE(first.Text(), text.c_str());
    EXPECT_EQ(first, second);
    EXPECT_NE(first, other);
    EXPECT_NE(first < other, other < first);
    EXPECT_FALSE(first < second || second < first);
    EXPECT_EQ(ImmutableString(nullptr), ImmutableString(""));
}

TEST(ImmutableStrings, ThreadsAgreeWhileTextsComeAndGo)
{
    OnThreads(4, [](int) {
        for (int round = 0; round < 20000; ++round)
        {
            const ImmutableString one("passing");
            const ImmutableString two("passing");
            ASSERT_EQ(one, two);
            ASSERT_STREQ(one.Text(), "passing");
        }
    });
}
} // namespace
