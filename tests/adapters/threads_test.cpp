// Threads and pools with roles, and suspended calls with futures.

#include <u/cpp/threads.h>

#include <chrono>
#include <memory>
#include <stdexcept>

#include <u/cpp/contexts.h>

#include "tests/adapters/Thrown.h"
#include "tests/contexts/Suspensions.h"

using U::cpp::Role;

namespace
{
typedef Suspend CppThreads;

bool Has(Role role)
{
    return role == Role::None || (role == Role::Main && U_IsOnMainThread()) ||
           (role == Role::Render && U_IsOnRenderThread()) ||
           (role == Role::PSL && U_IsOnPSLThread()) || (role == Role::PR && U_IsOnPRThread());
}

const Role kRoles[] = {Role::None, Role::Main, Role::Render, Role::PSL, Role::PR};
} // namespace

TEST_F(CppThreads, AThreadHasItsRoleAndTheStatusOfItsFunction)
{
    for (const Role role : kRoles)
    {
        U::cpp::Thread thread(role, "test", [=] { return Has(role) ? 5 : 6; });
        EXPECT_EQ(thread.Join(), 5) << int(role);
        EXPECT_EQ(thread.Join(), 5) << "a second join";
    }
    EXPECT_EQ(U_PSLThreadID(), U_NoThreadID);
    EXPECT_EQ(U_PRThreadID(), U_NoThreadID);
    const std::pair<std::function<void()>, U_Status> kEnds[] = {
        {[] {}, 0},
        {[] { throw 9; }, 9},
        {[] { U::cpp::Check(3); }, 3},
        {[] { throw std::bad_alloc(); }, 4},
        {[] { throw std::runtime_error("a"); }, 14},
    };
    for (const auto& [function, status] : kEnds)
        EXPECT_EQ(U::cpp::Thread(Role::None, "test", function).Join(), status);
    EXPECT_EQ(U::cpp::Thread().Join(), 0);
}

TEST_F(CppThreads, TheEndOfAThreadLeavesTheRoleOfAnotherThread)
{
    for (const Role role : {Role::PSL, Role::PR})
    {
        std::promise<void> firstHas, secondHas, firstHasEnded;
        U::cpp::Thread first(role, nullptr, [&] {
            firstHas.set_value();
            secondHas.get_future().wait();
        });
        firstHas.get_future().wait();
        U::cpp::Thread second(role, nullptr, [&] {
            secondHas.set_value();
            firstHasEnded.get_future().wait();
            return Has(role) ? 5 : 6;
        });
        first.Join();
        firstHasEnded.set_value();
        EXPECT_EQ(second.Join(), 5) << int(role);
    }
    EXPECT_EQ(U_PSLThreadID(), U_NoThreadID);
    EXPECT_EQ(U_PRThreadID(), U_NoThreadID);
}

TEST_F(CppThreads, ADestructorAndAMoveWaitForTheThread)
{
    std::atomic<int> ended(0);
    const auto owned = std::make_shared<int>(0);
    const auto work = [&ended, owned] {
        U_ReportError(0, U_Sev_DETAIL, U_UTF16String(100, 'a')); // some work of the library
        ++ended;
    };
    {
        U::cpp::Thread thread(Role::None, "first", work);
        thread = U::cpp::Thread(Role::None, "second", work);
        EXPECT_GE(ended, 1);
        U::cpp::Thread& same = thread;
        thread = std::move(same);
        U::cpp::Thread moved(std::move(thread));
        EXPECT_EQ(thread.Join(), 0);
        U::cpp::Thread moveOnly(Role::None, "third",
                                [pointer = std::make_unique<int>(8)] { return *pointer; });
        EXPECT_EQ(moveOnly.Join(), 8);
    }
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(owned.use_count(), 2) << "the threads have destroyed their functions";
}

TEST_F(CppThreads, APoolRunsFunctionsInItsRole)
{
    for (const Role role : {Role::None, Role::Main, Role::Render})
    {
        U::cpp::ThreadPool pool(2, role, "pool");
        EXPECT_TRUE(pool.Submit([=] { return Has(role); }).get());
    }
    U::cpp::ThreadPool pool(1, Role::Render, "pool");
    EXPECT_EQ(
        *pool.Submit([pointer = std::make_unique<int>(8)]() mutable { return std::move(pointer); })
             .get(),
        8);
    std::future<void> failed = pool.Submit([] { throw 9; });
    EXPECT_EQ(Thrown([&] { failed.get(); }), 9);
    std::future<int> refused = pool.Submit([]() -> int { throw std::out_of_range("a"); });
    EXPECT_THROW(refused.get(), std::out_of_range);
    EXPECT_FALSE(U_IsOnRenderThread());
}

TEST_F(CppThreads, AFunctionOfAPoolIsDestroyedBeforeItsFutureIsReady)
{
    // Counts itself until its end, which lets other threads run first.
    struct Owned
    {
        explicit Owned(std::atomic<int>* count) : mCount(count) { ++*mCount; }
        ~Owned()
        {
            std::this_thread::yield();
            --*mCount;
        }
        std::atomic<int>* mCount;
    };
    std::atomic<int> owned(0);
    U::cpp::ThreadPool pool(1, Role::None, "pool");
    for (int i = 0; i < 2000; ++i)
    {
        auto kept = std::make_shared<Owned>(&owned);
        auto future = pool.Submit([kept = std::move(kept), i] {
            if (i % 2 == 0)
                throw 9;
        });
        future.wait();
        ASSERT_EQ(owned, 0) << i;
    }
}

static_assert(!std::is_move_constructible_v<U::cpp::ThreadPool>,
              "a pool that was moved from has no threads");

TEST_F(CppThreads, APoolEndsAfterItsFunctions)
{
    std::vector<int> order;
    {
        U::cpp::ThreadPool pool(1, Role::None, "pool");
        for (int i = 0; i < 100; ++i)
            pool.Submit([&order, i] { order.push_back(i); });
    }
    ASSERT_EQ(order.size(), 100u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_THROW(U::cpp::ThreadPool(0, Role::None, "pool"), std::invalid_argument);
}

TEST_F(CppThreads, AContextScopeActivatesAContextUntilItsEnd)
{
    {
        const U::cpp::ContextScope scope;
        EXPECT_EQ(U_Context::GetCurrent().get(), &*scope);
        EXPECT_TRUE(scope->IsActive());
        const U::cpp::ContextScope nested{boost::shared_ptr<U_Context>()};
        EXPECT_EQ(&*nested, &*scope);
        EXPECT_EQ(Thrown([] { U::cpp::ContextScope other; }), 3);
    }
    EXPECT_FALSE(U_Context::HasCurrent());
    EXPECT_EQ(Thrown([] { U::cpp::ContextScope none{boost::shared_ptr<U_Context>()}; }), 3);
}

TEST_F(CppThreads, ASuspendedCallHasAResultOfAnyTypeWithinTheContext)
{
    const U::cpp::ContextScope task;
    const U_i64 id = task->GetContextID();
    EXPECT_EQ(
        U::cpp::CallSuspended(mExecutor, [] { return U_Context::GetCurrent()->GetContextID(); })
            .get(),
        id);
    std::future<std::unique_ptr<int>> moved =
        U::cpp::CallSuspended(mExecutor, [] { return std::make_unique<int>(8); });
    EXPECT_EQ(*moved.get(), 8);
    std::future<void> failed = U::cpp::CallSuspended(mExecutor, [] { throw 9; });
    EXPECT_EQ(Thrown([&] { failed.get(); }), 9);
    EXPECT_THROW(
        U::cpp::CallSuspended(mExecutor, []() -> int { throw std::range_error("a"); }).get(),
        std::range_error);
    EXPECT_EQ(Thrown([] { U::cpp::CallSuspended(ExecutorPtr(), [] {}); }), 3);
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    EXPECT_EQ(U::cpp::CallSuspended(loop, [] { return 6; }).get(), 6) << "on its own thread";
    EXPECT_EQ(U_Context::GetCurrent()->GetContextID(), id);
}

TEST_F(CppThreads, AFutureOfACallThatWasGivenUpIsSettled)
{
    const U::cpp::ContextScope task;
    auto running = std::make_shared<LongFunction>();
    std::thread terminator([&] {
        running->AwaitStart();
        U_SuspendContext::TerminateAndFailAllSuspendedContexts();
    });
    std::future<int> late =
        U::cpp::CallSuspended(mExecutor, [running] { return running->Function()(); });
    terminator.join();
    EXPECT_EQ(late.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    std::future<int> never = U::cpp::CallSuspended(mExecutor, [] { return 1; });
    EXPECT_EQ(Thrown([&] { never.get(); }), 517);
    running->LetEnd();
    EXPECT_EQ(late.get(), 5);
    Drain(mExecutor);
}
