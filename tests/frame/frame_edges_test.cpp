// Damage, many lives, and what translators may get wrong.

#include <any>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Lifecycle.h"
#include "U_Threads.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"

namespace
{
const U_Status kDamaged = 2;

U_i32 RunModeSeven()
{
    return 7;
}

unsigned int BeepsOfDie(bool expected)
{
    const unsigned int before = platform::BeepCount();
    EXPECT_EQ(U_Die(), expected);
    return platform::BeepCount() - before;
}

class Lives : public testing::Test
{
protected:
    void SetUp() override { PinSwitches(); }
    void TearDown() override
    {
        if (!U_Die())
            U_Death();
        PinSwitches();
        while (U_IsOnMainThread())
            U_DeregisterMainThread();
        platform::ResetAll();
    }

    CapturedLog mLog;
};

class TranslatorEdges : public BornLibrary
{
protected:
    // Adds a translator that notes its name and takes every exception as code,
    // or none if code is 0.
    U_u32 Add(char name, int code)
    {
        return U_RegisterExceptionTranslatorImpl([=](std::exception*, int* out) {
            mAsked += name;
            if (code)
                *out = code;
            return code != 0;
        });
    }

    template <class Exception> static U_Status Translate(Exception exception)
    {
        return U_TranslateAndReportException(exception);
    }

    std::string mAsked;
};

typedef TranslatorEdges FreshProcessDeathTest;
} // namespace

TEST_F(Lives, DeathLeavesADamagedLibraryInPlace)
{
    for (std::size_t end : {0u, 1u})
    {
        SCOPED_TRACE(end ? "tail" : "head");
        platform::ResetAll();
        CapturedLog log;
        CapturedAlerts alerts;
        ASSERT_EQ(U_Birth("Test Host", &RunModeSeven), 0);
        EXPECT_EQ(BeepsOfDie(false), 0u);
        const std::vector<U_u32*> magic = FindMagicNumbers();
        ASSERT_EQ(magic.size(), 2u);
        void** handle = U_AllocateHandle(0, "block", 100);
        const unsigned long long used = MEM_GetMemUsage();

        {
            const ScDamagedRecord damaged(magic[end]);
            EXPECT_EQ(BeepsOfDie(true), 2u);
            EXPECT_FALSE(platform::MemDialogsQuieted());
            EXPECT_EQ(U_Death(), kDamaged);
            EXPECT_EQ(alerts.Texts(),
                      std::vector<std::string>{"Internal structures damaged.\n\n( 23 :: 4 )"});
            EXPECT_EQ(U_Death(), kDamaged);
            EXPECT_TRUE(platform::MemDialogsQuieted());
            EXPECT_EQ(MEM_GetMemUsage(), used);
            EXPECT_EQ(U_GetRunMode(), 7);
            EXPECT_EQ(U_CheckHandleFromHeap(handle), 0);
        }

        // Once dying, always dying; the next life starts anew.
        EXPECT_EQ(BeepsOfDie(true), 0u);
        U_FreeHandle(handle);
        EXPECT_EQ(U_Death(), 0);
    }
}

TEST_F(Lives, MayBeMoreThanHeapsCanExistAtOnce)
{
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    const unsigned long long before = MEM_GetMemUsage();
    for (int life = 0; life < 70000; ++life)
    {
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0) << life;
        ASSERT_EQ(U_Death(), 0);
        ASSERT_EQ(MEM_GetMemUsage(), before) << life;
        U_DeregisterMainThread();
    }
}

TEST_F(Lives, ANameOfAnyLengthLeavesTheRecordWhole)
{
    for (std::size_t length : {0u, 29u, 30u, 31u, 32u, 100000u})
    {
        SCOPED_TRACE(length);
        ASSERT_EQ(U_Birth(std::string(length, 'n').c_str(), nullptr), 0);
        EXPECT_EQ(BeepsOfDie(false), 0u);
        EXPECT_EQ(U_Death(), 0);
    }
}

TEST_F(Lives, BirthWithoutANameKeepsNoRunMode)
{
    EXPECT_EQ(U_Birth(nullptr, &RunModeSeven), U_Err_BadParameter);
    EXPECT_EQ(U_GetRunMode(), 0);
    EXPECT_EQ(BeepsOfDie(true), 2u);
}

TEST_F(FreshProcessDeathTest, IdsStartAt100)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(Add('a', 0) == 100 && Add('b', 0) == 101 ? 0 : 1),
                testing::ExitedWithCode(0), "");
}

TEST(ThreadRolesDeathTest, NoThreadIsTheUIThreadBeforeOneRegisters)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(U_IsOnUIThread() ? 1 : 0), testing::ExitedWithCode(0), "");
}

TEST(ThreadRoles, OneRoleIsNotAnother)
{
    const struct
    {
        const char* name;
        void (*enter)();
        void (*leave)();
        bool (*isOn)();
    } kRoles[] = {
        {"main", &U_RegisterMainThread, &U_DeregisterMainThread, &U_IsOnMainThread},
        {"render", &U_RegisterRenderThread, &U_DeregisterRenderThread, &U_IsOnRenderThread},
        {"PSL", &U_RegisterPSLThread, &U_DeregisterPSLThread, &U_IsOnPSLThread},
        {"PR", &U_RegisterPRThread, &U_DeregisterPRThread, &U_IsOnPRThread},
    };
    for (const auto& held : kRoles)
    {
        held.enter();
        for (const auto& asked : kRoles)
            EXPECT_EQ(asked.isOn(), &asked == &held) << held.name << " asked for " << asked.name;
        held.leave();
    }
}

TEST_F(TranslatorEdges, IdsGoOnInTheNextLife)
{
    const U_u32 last = Add('a', 0);
    ASSERT_EQ(U_Death(), 0);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    U_DeregisterMainThread();
    EXPECT_EQ(Add('b', 0), last + 1);
}

TEST_F(TranslatorEdges, FourteenStandsAlsoBehindOneThatStoredWithoutRecognising)
{
    U_RegisterExceptionTranslatorImpl([](std::exception*, int*) { return true; });
    U_RegisterExceptionTranslatorImpl([](std::exception*, int* code) {
        *code = 99;
        return false;
    });
    EXPECT_EQ(Translate(std::runtime_error("boom")), U_Err_UnknownException);
}

TEST_F(TranslatorEdges, DerivedMemoryAndCastFailuresCountToo)
{
    Add('a', 21);
    EXPECT_EQ(Translate(std::bad_array_new_length()), U_Err_OutOfMemory);
    EXPECT_EQ(Translate(std::bad_any_cast()), U_Err_BadParameter);
    EXPECT_EQ(mAsked, "");
    EXPECT_EQ(Translate(std::bad_typeid()), 21);
}

TEST_F(TranslatorEdges, OneMayRemoveItselfAndOlderOnes)
{
    Add('a', 21);
    const U_u32 older = Add('b', 22);
    U_u32 self = 0;
    auto text = std::make_shared<std::string>("alive ");
    const std::weak_ptr<std::string> watched = text;
    self = U_RegisterExceptionTranslatorImpl([&, text](std::exception*, int*) {
        U_UnregisterExceptionTranslator(self);
        U_UnregisterExceptionTranslator(older);
        mAsked += *text; // its own state stays whole until it returns
        return false;
    });
    text.reset();
    EXPECT_EQ(Translate(std::runtime_error("boom")), 21);
    EXPECT_EQ(mAsked, "alive a");
    EXPECT_TRUE(watched.expired());
}
