// Processor data, clocks, the thread count, byte order, fills, pointers as numbers,
// names.

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>
#include <tuple>
#include <utility>

#include <boost/numeric/conversion/cast.hpp>
#include <gmock/gmock.h>

#include <unistd.h>

#include <tolv/keyboard.h>
#include <win32/errors.h>
#include <win32/machine.h>

#include "U_Lifecycle.h"
#include "U_Machine.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
namespace fs = std::filesystem;

typedef BornLibrary Machine;

// Makes a folder in the form of the system's list of processors.
fs::path MakeProcessors(const std::string& online, const Texts& siblings)
{
    const fs::path folder = fs::temp_directory_path() / ("processors-" + std::to_string(getpid()));
    fs::remove_all(folder);
    for (std::size_t cpu = 0; cpu < siblings.size(); ++cpu)
    {
        const fs::path topology = folder / ("cpu" + std::to_string(cpu)) / "topology";
        fs::create_directories(topology);
        if (!siblings[cpu].empty())
            std::ofstream(topology / "thread_siblings_list") << siblings[cpu] << '\n';
    }
    std::ofstream(folder / "online") << online << '\n';
    return folder;
}

// Returns the siblings of 2 * distance processors: n and n + distance are threads of one core.
Texts Pairs(int distance)
{
    Texts siblings;
    for (int cpu = 0; cpu < 2 * distance; ++cpu)
        siblings.push_back(std::to_string(cpu % distance) + "," +
                           std::to_string(cpu % distance + distance));
    return siblings;
}

double Seconds()
{
    double seconds = -1;
    EXPECT_EQ(U_SecondsSinceBoot(&seconds), 0);
    return seconds;
}

// Returns true if each of 20 readings is a whole number of milliseconds.
bool ReadsTicks()
{
    for (int reading = 0; reading < 20; ++reading)
    {
        const double milliseconds = Seconds() * 1000;
        if (std::abs(milliseconds - std::round(milliseconds)) > 1e-4)
            return false;
    }
    return true;
}

struct ClockRow
{
    const char* what;
    int useTicks;
    long long frequency;
    bool works;
    bool ticks;
    double speed; // relative to the system's clock
};

// Returns true if the first birth chooses the clock of the row. Runs in a fresh process.
bool ChoosesClock(const ClockRow& row)
{
    const bool readsTicksBeforeBirth = ReadsTicks();
    platform::SetProfileInt("UseAltPreviewTimingMode", row.useTicks);
    platform::SetPerformanceCounter(row.frequency, row.works);
    U_Birth("Test Host", nullptr);
    const bool isRight = std::abs(Seconds() - SecondsSinceStart() * row.speed) < 3;
    const bool readsTicks = ReadsTicks();
    // The next birth keeps the choice.
    U_Death();
    platform::SetProfileInt("UseAltPreviewTimingMode", !row.useTicks);
    platform::SetPerformanceCounter(row.frequency, true);
    U_Birth("Test Host", nullptr);
    return readsTicksBeforeBirth && isRight && readsTicks == row.ticks &&
           ReadsTicks() == (row.ticks && row.works);
}

// Returns true if a delay ends although its clock goes back meanwhile. Runs in a fresh process.
bool DelayEndsAfterARestart()
{
    const long long kFrequency = 500000000; // the counter is far ahead of the ticks
    platform::SetPerformanceCounter(kFrequency, true);
    U_Birth("Test Host", nullptr);
    std::atomic<bool> hasEnded(false);
    std::thread([&] {
        U_Delay(200);
        hasEnded = true;
    }).detach();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    platform::SetPerformanceCounter(kFrequency, false);
    for (int tries = 0; tries < 100 && !hasEnded; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return hasEnded;
}
} // namespace

TEST_F(Machine, ProcessorFlagsAreThoseThatTheSystemLists)
{
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line) && line.rfind("flags", 0) != 0)
        continue;
    line += ' ';
    const std::pair<U_u32, const char*> rows[] = {
        {U_G_CPU_DataP->SSE, " sse "},       {U_G_CPU_DataP->SSE2, " sse2 "},
        {U_G_CPU_DataP->SSE3, " pni "},      {U_G_CPU_DataP->SSSE, " ssse3 "},
        {U_G_CPU_DataP->SSE4_1, " sse4_1 "}, {U_G_CPU_DataP->SSE4_2, " sse4_2 "},
    };
    for (const auto& [flag, word] : rows)
        EXPECT_EQ(flag, line.find(word) != std::string::npos) << word;
    EXPECT_EQ(U_G_CPU_DataP->MMX, 1u);
}

TEST_F(Machine, CoresAreCountedFromTheSystemsTopology)
{
    typedef std::tuple<const char*, std::string, Texts, U_u32, U_u32> Row;
    Texts withoutOne = Pairs(4);
    withoutOne[3].clear();
    const Row rows[] = {
        {"two cores", "0-1", {"0", "1"}, 2, 2},
        {"pairs of threads", "0-7", Pairs(4), 4, 8},
        {"large and small cores", "0-3", {"0-1", "0-1", "2", "3"}, 3, 4},
        {"more than a mask holds", "0-191", Pairs(96), 96, 192},
        {"some switched off", "0,2-3", {"0", "1", "2", "3"}, 3, 3},
        {"no list", "", {""}, 1, 1},
        {"no list of a core", "0-7", withoutOne, 1, 1},
        {"a core without its processor", "0-1", {"0", "0"}, 1, 1},
        {"words", "all of them", {"0"}, 1, 1},
        {"an endless list", "0-4294967295", {"0"}, 1, 1},
    };
    for (const auto& [what, online, siblings, physical, logical] : rows)
    {
        SCOPED_TRACE(what);
        const fs::path folder = MakeProcessors(online, siblings);
        platform::SetProcessorFolder(folder.string().c_str());
        mLog.Clear();
        LiveAnew();
        fs::remove_all(folder);
        EXPECT_EQ(U_G_CPU_DataP->PhysicalCores, physical);
        EXPECT_EQ(U_G_CPU_DataP->LogicalCores, logical);
        std::ostringstream counts;
        counts << "LogicalCores:" << logical << ", PhysicalCores:" << physical << ", MMX:1, SSE:";
        EXPECT_THAT(mLog.Texts("CPU Data"),
                    testing::ElementsAre(testing::StartsWith(counts.str())));
    }
}

// A process chooses its clock once, so each row runs in a process of its own.
TEST(ClockDeathTest, TheFirstBirthChoosesTheClock)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const ClockRow rows[] = {
        {"counter", 0, 1000000000, true, false, 1},
        {"counter with another frequency", 0, 500000000, true, false, 2},
        {"profile", 1, 1000000000, true, true, 1},
        {"profile, another value", -7, 1000000000, true, true, 1},
        {"no counter", 0, -1, true, true, 1},
        {"a counter without a frequency", 0, 0, true, true, 1},
        {"a counter that cannot be read now", 0, 1000000000, false, true, 1},
    };
    for (const ClockRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        EXPECT_EXIT(std::_Exit(ChoosesClock(row) ? 0 : 1), testing::ExitedWithCode(0), "");
    }
    EXPECT_EXIT(std::_Exit(DelayEndsAfterARestart() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Machine, MillisecondsAreTheSameTimeAndDelaysPassOnIt)
{
    U_u64 milliseconds = 0;
    const double before = Seconds();
    EXPECT_EQ(U_MillisecondsSinceBoot(&milliseconds), 0);
    EXPECT_GE(milliseconds, static_cast<U_u64>(before * 1000));
    EXPECT_LE(milliseconds, static_cast<U_u64>(Seconds() * 1000));
    for (const U_u64 delay :
         {0, 30, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}) // from anywhere in a millisecond
    {
        const double began = Seconds();
        EXPECT_EQ(U_Delay(delay), 0);
        EXPECT_GE(Seconds() - began, static_cast<double>(delay) * 0.001);
    }
}

TEST_F(Machine, TheThreadCountIsTheHostsUnlessNegative)
{
    const U_i32 machine = static_cast<U_i32>(std::thread::hardware_concurrency());
    const std::pair<U_i32, U_i32> rows[] = {
        {4, 4}, {0, 0}, {std::numeric_limits<U_i32>::min(), machine}, {-1, machine}};
    for (const auto& [set, got] : rows)
    {
        U_i32 count = 0;
        EXPECT_EQ(U_SetNumThreads(set), 0);
        EXPECT_EQ(U_GetNumThreads(&count), 0);
        EXPECT_EQ(count, got) << set;
    }
}

TEST_F(Machine, AllKeysOfTheMaskMustBeDown)
{
    platform::SetModifierKeys(kModifierShift | kModifierControl);
    for (U_u32 mask : {0u, 0u + kModifierShift, 0u + (kModifierShift | kModifierControl)})
        EXPECT_TRUE(U_ModKeyDown(mask)) << mask;
    EXPECT_FALSE(U_ModKeyDown(kModifierShift | kModifierOption));
    EXPECT_FALSE(U_ModKeyDown(kModifierCommand));
}

TEST_F(Machine, SwapsReverseTheBytes)
{
    EXPECT_EQ(U_ShortSwap(0x1280), 0x8012);
    EXPECT_EQ(U_LongSwap(0x12345680u), 0x80563412u);
    EXPECT_EQ(U_LLongSwap(0x123456789ABCDEF0ull), 0xF0DEBC9A78563412ull);

    // The bits of a signalling NaN do not change on the way.
    const auto swapInPlace = [](auto swap, auto number, auto bits) {
        std::memcpy(&number, &bits, sizeof(bits));
        swap(&number);
        std::memcpy(&bits, &number, sizeof(bits));
        return bits;
    };
    EXPECT_EQ(swapInPlace(&U_FpShortSwap, 0.0f, 0x0000A07Fu), 0x7FA00000u);
    EXPECT_EQ(swapInPlace(&U_FpLongSwap, 0.0, U_u64(0x010000000000F47F)), 0x7FF4000000000001u);
}

TEST_F(Machine, FillsWriteTheirBytesAndNoOthers)
{
    const U_u32 value = 0x12345678; // of which the 16 low bits are the first two bytes
    for (const std::size_t width : {2u, 4u})
    {
        const auto fill = [&](U_i32 count, unsigned char* out) {
            if (width == 2)
                Up_Memset16(static_cast<U_u16>(value), count, out);
            else
                Up_Memset32(value, count, out);
        };
        for (std::size_t offset = 0; offset < 17; ++offset)
        {
            std::vector<unsigned char> got(480, 0xEE);
            std::vector<unsigned char> expected = got;
            fill(std::numeric_limits<U_i32>::min(), &got[offset]);
            fill(-1, &got[offset]);
            for (std::size_t count = 0; count <= 100; ++count)
            {
                fill(static_cast<U_i32>(count), &got[offset]);
                ASSERT_EQ(got, expected) << width << " " << offset << " " << count;
                std::memcpy(&expected[offset + count * width], &value, width);
            }
        }
    }
}

TEST_F(Machine, PointersThatDontFitAreRefused)
{
    for (U_u32 number : {0u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(U_PointerToInt32(U_Int32ToPointer(number)), number);
    const intptr_t kBeyond[] = {0x100000000, std::numeric_limits<intptr_t>::max(), -1,
                                std::numeric_limits<intptr_t>::min()};
    for (intptr_t number : kBeyond)
    {
        void* const pointer = U_IntPtrToPointer(number);
        EXPECT_EQ(U_PointerToIntPtr(pointer), number);
        if (number < 0)
            EXPECT_THROW(U_PointerToInt32(pointer), boost::numeric::negative_overflow);
        else
            EXPECT_THROW(U_PointerToInt32(pointer), boost::numeric::positive_overflow);
    }
}

TEST_F(Machine, NamesAreWholeCharactersOrEmpty)
{
    const std::string clef = "\xF0\x9D\x84\x9E"; // two code units
    const std::string x30(30, 'x');
    const std::array<std::string, 4> rows[] = {
        {"render7.farm.example", "r\xC3\xA9mi", "render7", "r\xC3\xA9mi"},
        {x30 + "1", std::string(256, 'u'), x30 + "1", std::string(256, 'u')},
        {x30 + "12", std::string(257, 'u'), x30 + "1", ""},
        {x30 + clef, clef, x30, clef},
        {".example", "\xFF", "", "\xEF\xBF\xBD"},
    };
    for (const auto& [machine, user, expectedMachine, expectedUser] : rows)
    {
        SCOPED_TRACE(machine + " " + user);
        platform::SetNames(machine.c_str(), user.c_str());
        EXPECT_EQ(Narrow(U_GetMachineName()), expectedMachine);
        EXPECT_EQ(Narrow(U_GetUsername()), expectedUser);
    }
    platform::SetNames(nullptr, nullptr);
    EXPECT_EQ(Narrow(U_GetMachineName()), MachineName());
    EXPECT_EQ(Narrow(U_GetUsername()), UserName());
}

TEST_F(Machine, ALongNameWithoutMemoryIsAFailureOfTheSystem)
{
    typedef int (*GetName)(unsigned short* name, unsigned int* size);
    const std::string longName(300, 'm'); // in no string without an allocation
    platform::SetNames(longName.c_str(), longName.c_str());
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
