#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include <win32/message_queue.h>

#include "U_Abort.h"
#include "tests/contexts/States.h"
#include "tests/support/System.h"

namespace
{
struct Kind
{
    char letter;
    unsigned int message;
    unsigned long long wParam;
};

const Kind kKinds[] = {
    {'u', 0x400, 0},   // a user function
    {'U', 0x401, 0},   // another module's message
    {'x', 0x400, 27},  // a user function whose parameter looks like Escape
    {'t', 0x113, 1},   // a timer
    {'k', 0x100, 116}, // a key without a character, F5
    {'e', 0x100, 27},  // Escape down
    {'E', 0x101, 27},  // Escape up
    {'c', 0x102, 27},  // its character
    {'l', 0x109, 27},  // the last of the keyboard's range
    {'p', 0x00F, 0},   // paint
    {'m', 0x201, 27},  // a mouse button
    {'<', 0x0FF, 27},  // on either side of the keyboard's range
    {'>', 0x10A, 27},
};

void Post(const std::string& letters)
{
    for (char letter : letters)
    {
        const Kind* kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                        [=](const Kind& each) { return each.letter == letter; });
        EXPECT_TRUE(platform::PostThreadMessage(ThisThread(), kind->message, kind->wParam, 0));
    }
}

char LetterOf(unsigned int message, unsigned long long wParam)
{
    for (const Kind& kind : kKinds)
    {
        if (kind.message == message && kind.wParam == wParam)
            return kind.letter;
    }
    return '?';
}

std::string TakeRest()
{
    std::string letters;
    win32::MSG message;
    while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
        letters += LetterOf(message.message, message.wParam);
    return letters;
}

// Returns the characters that the system posts for the keys of the messages.
std::string CharactersOf(const std::string& letters)
{
    const auto keys = std::count(letters.begin(), letters.end(), 'e');
    return std::string(IsWindows() ? static_cast<std::size_t>(keys) : 0, 'c');
}

class AbortCheck : public Contexts
{
protected:
    void SetUp() override
    {
        Contexts::SetUp();
        TakeRest();
        platform::SetWindowProcedure(
            [this](unsigned int message, unsigned long long wParam, long long) {
                mDispatched += LetterOf(message, wParam);
                if (mWhenDispatched)
                    mWhenDispatched(mDispatched.back());
            });
    }

    void TearDown() override
    {
        TakeRest();
        Contexts::TearDown();
    }

    std::string Dispatched() { return std::exchange(mDispatched, {}); }

    std::function<void(char)> mWhenDispatched;
    std::string mDispatched;
};

TEST_F(AbortCheck, ClassesOfMessagesAreTakenInTheirOrder)
{
    const std::tuple<const char*, const char*, bool, const char*> rows[] = {
        {"", "", false, ""},
        {"tu", "ut", false, ""},
        {"ktuktu", "uuttkk", false, ""},
        {"eE", "eE", true, ""},
        {"kEk", "kEk", true, ""},
        {"c", "c", true, ""},
        {"l", "l", true, ""},
        {"x", "x", false, ""},
        {"pm<>", "", false, "pm<>"},
        {"pemUtuk", "utek", true, "pmU"},
    };
    for (const auto& [posted, dispatched, aborts, left] : rows)
    {
        SCOPED_TRACE(posted);
        const unsigned int flushes = platform::FlushEventsCount();
        Post(posted);
        EXPECT_EQ(U_NOUIThrottler().ThrottleAndCheckAbort(), aborts);
        EXPECT_EQ(Dispatched(), dispatched + CharactersOf(dispatched));
        EXPECT_EQ(platform::FlushEventsCount() - flushes, aborts ? 1u : 0u);
        EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines())
            << "the next call starts anew";
        EXPECT_EQ(TakeRest(), left);
    }
}

TEST_F(AbortCheck, MessagesPostedWhileDispatchingWaitForTheirPass)
{
    Post("tuk");
    bool first = true;
    mWhenDispatched = [&](char letter) {
        if (letter == 'u' && std::exchange(first, false))
            Post("u");
        if (letter == 't')
            Post("uk");
    };
    EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines());
    EXPECT_EQ(Dispatched(), "uutkk");
    EXPECT_EQ(TakeRest(), "u");
}

// Of two nested calls, the one that takes the Escape key returns true.
TEST_F(AbortCheck, AWindowProcedureMayCheckToo)
{
    for (const bool innerTakesIt : {true, false})
    {
        SCOPED_TRACE(innerTakesIt);
        Post(innerTakesIt ? "uutE" : "Ek");
        bool isInner = false;
        bool inner = false;
        mWhenDispatched = [&](char) {
            if (!std::exchange(isInner, true))
                inner = U_Context::CheckAbortAndFlushCompletionRoutines();
        };
        EXPECT_EQ(U_Context::CheckAbortAndFlushCompletionRoutines(), !innerTakesIt);
        EXPECT_EQ(inner, innerTakesIt);
        EXPECT_EQ(Dispatched(), innerTakesIt ? "uutE" : "Ek");
    }
}

TEST_F(AbortCheck, AnExceptionPassesThroughAndLeavesTheRestQueued)
{
    Post("uute");
    mWhenDispatched = [](char) { throw std::runtime_error("from a window procedure"); };
    EXPECT_THROW(U_Context::CheckAbortAndFlushCompletionRoutines(), std::runtime_error);
    EXPECT_EQ(Dispatched(), "u");
    EXPECT_EQ(TakeRest(), "ute");
}

TEST_F(AbortCheck, EachMessageIsTraced)
{
    StartTraces("Idle", 10);
    Post("kut");
    U_Context::CheckAbortAndFlushCompletionRoutines();
    const std::string start =
        "<" + std::to_string(ThisThread()) +
        "> <Idle> <10> U_Context::CheckAbortAndFlushCompletionRoutines: processing ";
    EXPECT_THAT(Traces(), testing::ElementsAre(start + "user-func found in queue\r\n",
                                               start + "timer found in queue\r\n",
                                               start + "keyboard-event found in queue\r\n"));
}

} // namespace
