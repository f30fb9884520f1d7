// The registration of the handlers of the last call. tests/crash/ has the calls themselves.

#include "U_Fatal.h"

#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace
{
typedef std::pair<U_FatalHandler, void*> Pair;
typedef U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler ScHandler;

int sRefcons[3]; // distinct addresses

const U_FatalHandler kHandler = [](void*) {};
const Pair kNone(nullptr, nullptr);
const Pair kGlobal(kHandler, &sRefcons[0]);
const Pair kOuter(kHandler, &sRefcons[1]);
const Pair kInner(kHandler, &sRefcons[2]);

Pair Read(void (*get)(U_FatalHandler*, void**))
{
    Pair pair(kHandler, nullptr);
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
} // namespace

TEST(FatalHandlers, ScopesOfLocalHandlersNestAndReplaceTheGlobalOneOnTheirThread)
{
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(kGlobal.first, kGlobal.second);
    EXPECT_EQ(InForce(), kGlobal);
    {
        const ScHandler outer(kOuter.first, kOuter.second);
        EXPECT_EQ(outer.GetPreviousExceptionFunc(), nullptr); // not the global one
        {
            const ScHandler inner(kInner.first, kInner.second);
            EXPECT_EQ(Pair(inner.GetPreviousExceptionFunc(), inner.GetPreviousExceptionRefcon()),
                      kOuter);
            EXPECT_EQ(InForce(), kInner);
            std::thread([] {
                EXPECT_EQ(Local(), kNone);
                EXPECT_EQ(InForce(), kGlobal);
            }).join();
        }
        EXPECT_EQ(Local(), kOuter);
        {
            ScHandler copy(nullptr, &sRefcons[2]);
            EXPECT_EQ(InForce(), kGlobal) << "the refcon alone is not used";
            copy = outer;
        }
        EXPECT_EQ(Local(), kNone) << "a copy restores the handler that its source found";
    }
    EXPECT_EQ(Read(&U_GetGlobalUnhandledExceptionOrHardwareErrorHandler), kGlobal);
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(nullptr, nullptr);
    EXPECT_EQ(InForce(), kNone);
}
