// Names of the machine and of the user without memory.

#include <string>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <win32/errors.h>
#include <win32/machine.h>

#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"

namespace
{
typedef BornLibrary Names;

const std::string kLongName(300, 'm'); // in no string without an allocation

TEST_F(Names, ALongNameWithoutMemoryIsAFailureOfTheSystem)
{
    typedef int (*GetName)(unsigned short* name, unsigned int* size);
    platform::SetNames(kLongName.c_str(), kLongName.c_str());
    for (const GetName get : {&win32::GetComputerNameW, &win32::GetUserNameW})
    {
        unsigned short name[400] = {};
        int result = 0;
        unsigned int size = 0;
        const auto ask = [&] {
            size = 400;
            win32::SetLastError(0);
            result = get(name, &size);
        };
        const long failures = FailEachNew(ask, [&](long) {
            EXPECT_EQ(win32::GetLastError(), result ? 0 : win32::kErrorNotEnoughMemory);
        });
        EXPECT_GT(failures, 0);
        EXPECT_TRUE(result) << "the last call has all the memory";
    }
}
} // namespace
