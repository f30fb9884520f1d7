// Logging callbacks, the interaction mask, and the queries on the record.

#include "U_Interact.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>

#include <boost/function.hpp>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
const U_u32 kMaskAtBirth = 0xFFBFFF9F;
const U_u16 kSeverity = U_Sev_MESSAGE; // has no prefix

std::string sCalls; // the names of the called listeners, in order

struct Listener
{
    char name;
    boost::function<void()> action = {};
};

U_Status Listen(void* refcon, U_u32 location, U_u16 severity, const char* text)
{
    const Listener& listener = *static_cast<Listener*>(refcon);
    if (location != kLocation)
        return 0; // the report of a refused call
    EXPECT_EQ(severity, kSeverity);
    EXPECT_STREQ(text, "text");
    sCalls += listener.name;
    if (listener.action)
        listener.action();
    return 0;
}

U_Status Add(Listener& listener)
{
    return U_AddLoggingCallback(&Listen, &listener);
}

U_Status Remove(Listener& listener)
{
    return U_RemoveLoggingCallback(&Listen, &listener);
}

std::string Calls()
{
    sCalls.clear();
    Up_ReportErrString(kLocation, kSeverity, "text");
    return sCalls;
}

typedef BornLibrary Interact;

class Callbacks : public BornLibrary
{
protected:
    Listener mA{'a'};
    Listener mB{'b'};
};
} // namespace

TEST_F(Callbacks, ANullCallbackIsRefusedAlsoIfASlotIsFree)
{
    ASSERT_EQ(Add(mA), 0);
    EXPECT_EQ(U_AddLoggingCallback(nullptr, &mA), 3);
    EXPECT_EQ(U_RemoveLoggingCallback(nullptr, nullptr), 3); // the pair of a free slot
    const std::string start =
        "Test Host error: internal verification failure, sorry! {logging_func can not be NULL}"
        "\n\n( 23 :: ";
    EXPECT_EQ(mAlerts.Texts(), (Texts{start + "21 )", start + "22 )"}));
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, ACallbackMayRemoveALaterOne)
{
    mA.action = [&] { EXPECT_EQ(Remove(mB), 0); };
    ASSERT_EQ(Add(mA), 0);
    ASSERT_EQ(Add(mB), 0);
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, OtherThreadsWaitWhileACallbackRuns)
{
    ASSERT_EQ(Add(mA), 0);
    const auto callsWhile = [&](U_Status (*change)(Listener&)) {
        std::promise<void> begun;
        std::future<U_Status> changed;
        mA.action = [&] {
            changed = std::async(std::launch::async, [&] {
                begun.set_value();
                return change(mB);
            });
            begun.get_future().wait();
            EXPECT_EQ(changed.wait_for(std::chrono::milliseconds(100)),
                      std::future_status::timeout);
        };
        const std::string calls = Calls();
        EXPECT_EQ(changed.get(), 0);
        mA.action.clear();
        return calls;
    };
    EXPECT_EQ(callsWhile(&Add), "a");
    EXPECT_EQ(callsWhile(&Remove), "ab");
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, ADamagedRecordRefusesChangesAndCallsNoCallback)
{
    ASSERT_EQ(Add(mA), 0);
    const std::vector<U_u32*> magic = FindMagicNumbers();
    ASSERT_EQ(magic.size(), 2u);
    {
        const ScDamagedRecord damaged(magic[1]);
        char name[31] = "before";
        U_u32 errors = 77;
        EXPECT_EQ(Add(mB), 2);
        EXPECT_EQ(Remove(mA), 2);
        EXPECT_EQ(U_GetName(name), 2);
        EXPECT_EQ(U_GetHowManyErrors(&errors), 2);
        EXPECT_STREQ(name, "before");
        EXPECT_EQ(errors, 77u);
        EXPECT_EQ(Calls(), "");
    }
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, CallbacksEndWithTheLibrary)
{
    ASSERT_EQ(Add(mA), 0);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(Calls(), "");
    EXPECT_EQ(Add(mA), 5889);
    EXPECT_EQ(Remove(mA), 5889);
    ASSERT_EQ(U_Birth("Another life", nullptr), 0);
    EXPECT_EQ(Calls(), "");
}

TEST_F(Interact, ANewLifeHasTheMaskOfBirth)
{
    const U_u32 last = Up_SetInteractTemp(5);
    ASSERT_EQ(U_Death(), 0);
    ASSERT_EQ(U_Birth("Another life", nullptr), 0);
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
    EXPECT_EQ(Up_SetInteractTemp(2), last + 1);
    Up_SetInteractTempComplete(last + 1);
    Up_SetInteractTempComplete(0xFFFFFFFF); // the id of the base mask
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
}

TEST_F(Interact, TheNameIsCutAndErrorsAreCountedInALifeOnly)
{
    char name[31];
    U_u32 errors = 77;
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(U_GetHowManyErrors(&errors), 5889);
    EXPECT_EQ(errors, 77u);
    ASSERT_EQ(U_Birth("123456789 123456789 123456789 123", nullptr), 0);
    std::memset(name, 'x', sizeof(name));
    EXPECT_EQ(U_GetName(name), 0);
    EXPECT_STREQ(name, "123456789 123456789 123456789 ");

    ASSERT_EQ(U_Death(), 0);
    const ScActiveCodePage japanese(932);
    ASSERT_EQ(U_Birth("123456789 123456789 123456789\x83\x5C", nullptr), 0);
    EXPECT_EQ(U_GetName(name), 0);
    EXPECT_STREQ(name, "123456789 123456789 123456789");
}

TEST(ComputerName, ComputerNameIsTerminatedInABufferOfAnySize)
{
    const std::string whole = NetworkName();
    const U_u32 length = static_cast<U_u32>(whole.size());
    for (U_u32 size : {0u, 1u, length, length + 1, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(size);
        char name[260];
        std::memset(name, 'x', sizeof(name));
        EXPECT_EQ(U_GetComputerName(size, name), size > length ? 0 : -1);
        if (size == 0)
            EXPECT_EQ(name[0], 'x');
        else
            EXPECT_EQ(name, whole.substr(0, std::min(length, size - 1)));
    }
    EXPECT_EQ(U_GetComputerName(100, nullptr), -1);
}
