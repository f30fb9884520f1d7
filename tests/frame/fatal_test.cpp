// The registration of the handlers of the last call. tests/crash/ has the calls themselves.

#include "U_Fatal.h"

#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace
{
typedef std::pair<U_FatalHandler, void*> Pair;
typedef U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler ScHandler;

int sRefcons[4]; // distinct addresses

void First(void*) {}
void Second(void*) {}

const Pair kNone(nullptr, nullptr);
const Pair kGlobal(&First, &sRefcons[0]);
const Pair kLocal(&Second, &sRefcons[1]);

Pair Read(void (*get)(U_FatalHandler*, void**))
{
    Pair pair(&First, &sRefcons[3]);
    get(&pair.first, &pair.second);
    get(nullptr, nullptr);
    return pair;
}

Pair Local()
{
    return Read(&U_GetLocalUnhandledExceptionOrHardwareErrorHandler);
}

Pair InForce()
{
    return Read(&U_GetUnhandledExceptionOrHardwareErrorHandler);
}

class FatalHandlers : public testing::Test
{
protected:
    void SetUp() override { SetGlobal(kGlobal); }
    void TearDown() override
    {
        SetGlobal(kNone);
        SetLocal(kNone);
    }

    static void SetGlobal(const Pair& pair)
    {
        U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(pair.first, pair.second);
    }
    static void SetLocal(const Pair& pair)
    {
        U_SetLocalUnhandledExceptionOrHardwareErrorHandler(pair.first, pair.second);
    }
};
} // namespace

TEST_F(FatalHandlers, ALocalHandlerReplacesTheGlobalOneOnItsThread)
{
    EXPECT_EQ(Read(&U_GetGlobalUnhandledExceptionOrHardwareErrorHandler), kGlobal);
    EXPECT_EQ(Local(), kNone);
    EXPECT_EQ(InForce(), kGlobal);
    SetLocal(kLocal);
    EXPECT_EQ(InForce(), kLocal);
    std::thread([] {
        EXPECT_EQ(Local(), kNone);
        EXPECT_EQ(InForce(), kGlobal);
    }).join();
    SetLocal(Pair(nullptr, &sRefcons[2])); // the refcon alone is not used
    EXPECT_EQ(InForce(), kGlobal);
    SetGlobal(kNone);
    EXPECT_EQ(InForce(), kNone);
}

TEST_F(FatalHandlers, ScopesNestAndRestoreThePreviousHandler)
{
    {
        const ScHandler outer(&First, &sRefcons[2]);
        EXPECT_EQ(outer.GetPreviousExceptionFunc(), nullptr); // not the global one
        {
            const ScHandler inner(kLocal.first, kLocal.second);
            EXPECT_EQ(Pair(inner.GetPreviousExceptionFunc(), inner.GetPreviousExceptionRefcon()),
                      Pair(&First, &sRefcons[2]));
            EXPECT_EQ(InForce(), kLocal);
        }
        EXPECT_EQ(Local(), Pair(&First, &sRefcons[2]));
    }
    EXPECT_EQ(Local(), kNone);
    SetLocal(kLocal);
    {
        ScHandler first(&First, nullptr);
        const ScHandler second(&First, &sRefcons[2]);
        first = second;
    }
    EXPECT_EQ(Local(), Pair(&First, nullptr)) << "the handler before the second scope";
}
