#include <krobase/gate.h>

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

using krobase::threads::OpenOnceGate;

namespace
{
const int kGenerous = 60000; // milliseconds

TEST(OpenOnceGates, AClosedOneHoldsForTheTimeOutAndAnOpenOneNobody)
{
    OpenOnceGate gate;
    EXPECT_FALSE(gate.PassThrough(0));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(gate.PassThrough(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));

    int told = 0;
    std::thread waiter([&] {
        EXPECT_TRUE(gate.PassThrough(kGenerous));
        EXPECT_EQ(told, 1) << "what the opener did before";
    });
    told = 1;
    gate.Open();
    gate.Open();
    EXPECT_TRUE(gate.PassThrough(0));
    waiter.join();
    EXPECT_TRUE(gate.PassThrough(kGenerous)) << "at once, again and again";
}
} // namespace
