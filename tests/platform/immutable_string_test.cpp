#include <krobase/immutable_string.h>

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FailingNew.h"

using krobase::utility::ImmutableString;

namespace
{
TEST(ImmutableStrings, EqualTextsAreOne)
{
    const std::string text = "a text from elsewhere";
    const ImmutableString first(text.c_str());
    const ImmutableString second(std::string(text).c_str());
    const ImmutableString other("a text");
    const ImmutableString copy = first;
    EXPECT_EQ(first.Text(), second.Text()) << "the same bytes";
    EXPECT_NE(first.Text(), text.c_str());
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, copy);
    EXPECT_NE(first, other);
    EXPECT_NE(first < other, other < first);
    EXPECT_FALSE(first < second || second < first);
    EXPECT_EQ(ImmutableString(nullptr), ImmutableString(""));

    ImmutableString source("moved on");
    const ImmutableString& left = source;
    const ImmutableString moved = std::move(source);
    EXPECT_STREQ(moved.Text(), "moved on");
    EXPECT_STREQ(left.Text(), "");
}

TEST(ImmutableStrings, ANewHandlerMayMakeTheSameText)
{
    static const char* const kText = "a text that is too long to stand inside a string object";
    static std::unique_ptr<const ImmutableString> sHandlers;
    const std::new_handler before =
        std::set_new_handler([] { sHandlers = std::make_unique<const ImmutableString>(kText); });
    const long points = FailEachNew(
        [&] {
            const ImmutableString made(kText);
            EXPECT_TRUE(!sHandlers || *sHandlers == made);
        },
        [](long) { sHandlers.reset(); });
    std::set_new_handler(before);
    EXPECT_GE(points, 3); // the text, its count and its place in the table
}

TEST(ImmutableStrings, ThreadsAgreeWhileTextsComeAndGo)
{
    const ImmutableString kept("kept");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&kept] {
            for (int round = 0; round < 5000; ++round)
            {
                const std::string text = "passing " + std::to_string(round % 3);
                const ImmutableString one(text.c_str());
                const ImmutableString two(text.c_str());
                ASSERT_EQ(one, two);
                ASSERT_EQ(text, one.Text());
                ASSERT_EQ(ImmutableString("kept"), kept);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
} // namespace
