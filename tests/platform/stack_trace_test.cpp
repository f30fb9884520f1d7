#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <krobase/stack_trace.h>

namespace krobase_test
{
struct Trace
{
    void* frames[50] = {};
    std::size_t count = 0;
    int line = 0; // of the call in Outer
};

// A result after the call keeps the compiler from a tail call.
__attribute__((noinline)) int Inner(Trace& trace, std::size_t skip)
{
    trace.count = krobase::debug::GenerateStackTrace(trace.frames, 50, skip);
    return trace.count != 0;
}

__attribute__((noinline)) int Outer(Trace& trace, std::size_t skip)
{
    const int had = Inner(trace, skip);
    trace.line = __LINE__ - 1;
    return had + 1;
}

__attribute__((noinline)) int Deep(Trace& trace, int depth)
{
    const int had = depth ? Deep(trace, depth - 1) : Inner(trace, 0);
    asm volatile("" ::: "memory");
    return had + 1;
}
} // namespace krobase_test

namespace
{
using krobase_test::Trace;

std::string NameOf(void* frame)
{
    char buffer[512];
    const char* name = krobase::debug::StackFrameFunctionName(frame, buffer, sizeof(buffer));
    return name ? name : "";
}

std::string PathOf(void* frame)
{
    char buffer[512];
    const char* path = krobase::debug::StackFrameFullFilePath(frame, buffer, sizeof(buffer));
    return path ? path : "";
}

TEST(StackTrace, CallsAreNamedFromTheInnermostWithoutTheSkipped)
{
    Trace trace;
    krobase_test::Outer(trace, 0);
    ASSERT_GT(trace.count, 2u);
    EXPECT_NE(NameOf(trace.frames[0]).find("krobase_test::Inner"), std::string::npos);
    EXPECT_NE(NameOf(trace.frames[1]).find("krobase_test::Outer"), std::string::npos);
    EXPECT_EQ(PathOf(trace.frames[1]), __FILE__);
    EXPECT_EQ(krobase::debug::StackFrameLineNumber(trace.frames[1]), trace.line);

    Trace skipped;
    krobase_test::Outer(skipped, 1);
    EXPECT_EQ(skipped.count, trace.count - 1);
    EXPECT_NE(NameOf(skipped.frames[0]).find("krobase_test::Outer"), std::string::npos);
    krobase_test::Outer(skipped, 100000);
    EXPECT_EQ(skipped.count, 0u);
}

TEST(StackTrace, FramesAreCutToTheArray)
{
    Trace trace;
    krobase_test::Deep(trace, 300);
    EXPECT_EQ(trace.count, 50u);

    std::vector<void*> frames(1000);
    EXPECT_LE(krobase::debug::GenerateStackTrace(frames.data(), frames.size(), 0),
              krobase::debug::kMostFrames);
    EXPECT_EQ(krobase::debug::GenerateStackTrace(nullptr, 0, 0), 0u);
}

TEST(StackTrace, NamesAreCutToTheBuffer)
{
    Trace trace;
    krobase_test::Outer(trace, 0);
    ASSERT_GT(trace.count, 0u);
    const std::string name = NameOf(trace.frames[0]);
    char buffer[16];
    std::memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], buffer, 8), buffer);
    EXPECT_EQ(std::string(buffer, 9), name.substr(0, 7) + '\0' + '#');
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], buffer, 1), nullptr);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], nullptr, 8), nullptr);
}
} // namespace
