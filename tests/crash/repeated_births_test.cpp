// Births, deaths and the handlers that others install before, between and after them.

#include <cstdlib>
#include <exception>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <win32/runtime.h>

#include "U_Fatal.h"
#include "U_Lifecycle.h"
#include "tests/crash/Child.h"

namespace
{
// The birth fails, and its handlers remain installed.
void FailToBeBorn()
{
    platform::SetHeapFailure([](unsigned long long size) { return size != 0; });
    U_Birth("Test Host", nullptr);
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
}

// Handlers of the host that end the process with a code.
struct Handlers
{
    void (*signal)(int);
    std::terminate_handler terminate;
    win32::InvalidParameterHandler invalidParameter;

    void Install() const
    {
        SetBadAccessAction(signal);
        std::set_terminate(terminate);
        win32::_set_invalid_parameter_handler(invalidParameter);
    }
};

template <int code> constexpr Handlers Ending()
{
    return {[](int) { std::_Exit(code); }, [] { std::_Exit(code); },
            [](auto...) { std::_Exit(code); }};
}

const Handlers kHandlers[] = {Ending<1>(), Ending<2>(), Ending<3>(),
                              Ending<4>(), Ending<5>(), Ending<6>()};
} // namespace

TEST(Lives, PassAFailureOnToTheHandlersFromBeforeBirth)
{
    static std::terminate_handler sFoundTerminate;
    static win32::InvalidParameterHandler sFoundInvalidParameter;
    for (Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
    {
        for (const bool afterDeath : {false, true})
        {
            const Death death = RunToDeath([&] {
                SetBadAccessAction([](int) { std::_Exit(9); });
                std::set_terminate([] { std::_Exit(9); });
                win32::_set_invalid_parameter_handler(
                    [](auto* expression, auto* function, auto* file, auto line, auto reserved) {
                        const bool isWhole = expression[0] == 't' && function[0] == 'e' &&
                                             file[0] == 'x' && line == 17 && reserved == 42;
                        std::_Exit(isWhole ? 9 : 8);
                    });
                FailToBeBorn();
                // These handlers of the host pass on to those that the birth has left.
                sFoundTerminate = std::set_terminate([] {
                    Print("host's");
                    sFoundTerminate();
                });
                sFoundInvalidParameter =
                    win32::_set_invalid_parameter_handler([](auto... parameters) {
                        Print("host's");
                        sFoundInvalidParameter(parameters...);
                    });
                Birth([](void* refcon) {
                    // Ends with the call, and is no reason for another call.
                    const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler own(&PrintCall,
                                                                                        refcon);
                    PrintCall(refcon);
                });
                if (afterDeath)
                    U_Death();
                crash();
            });
            death.Expect(ExitWith(9), {{"host's", crash != &WriteToNull},
                                       {"handler on", !afterDeath},
                                       {kLastLine, !afterDeath}});
        }
    }
}

TEST(Lives, MakeACallEachIfTheHandlerFromBeforeBirthThrows)
{
    const Death death = RunToDeath([] {
        win32::_set_invalid_parameter_handler([](auto...) {
            Print("host's");
            throw 1;
        });
        for (int life = 0; life < 2; ++life)
        {
            Birth(&PrintCall);
            EXPECT_THROW(GiveInvalidParameter(), int);
            U_Death();
        }
        std::_Exit(7);
    });
    death.Expect(ExitWith(7), {{"handler on", 2}, {"host's", 2}});
}

TEST(Lives, MakeOneCallIfTheHostPutsTheTerminateHandlerOfAnEarlierLifeBack)
{
    for (const bool afterDeath : {false, true})
    {
        const Death death = RunToDeath([&] {
            std::set_terminate([] { std::_Exit(9); });
            Birth(&PrintCall);
            const std::terminate_handler found = std::set_terminate([] {});
            U_Death();
            std::set_terminate(found); // the library's
            Birth();
            if (afterDeath)
            {
                U_Death();
                std::set_terminate(found);
            }
            Terminate();
        });
        death.Expect(ExitWith(9), {{"handler on", !afterDeath}});
    }
}

TEST(Lives, MakeTheirCallWhateverTheHostInstallsBetweenAndDuringThem)
{
    for (const bool during : {false, true})
    {
        for (const Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
        {
            const Death death = RunToDeath([during, crash] {
                for (const Handlers& handlers : kHandlers)
                {
                    if (!during)
                        handlers.Install();
                    Birth();
                    if (during)
                        kHandlers[0].Install();
                    U_Death();
                }
                kHandlers[5].Install();
                Birth(&PrintCall);
                crash();
            });
            death.Expect(ExitWith(6), {{"handler on", 1}});
        }
    }
}
