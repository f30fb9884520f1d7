// A host with a purge callback.

#ifndef TESTS_SUPPORT_PURGEHOST_H
#define TESTS_SUPPORT_PURGEHOST_H

#include <functional>
#include <utility>
#include <vector>

#include "U_Budget.h"

// Records the purge requests of one thread until the scope ends.
class ScPurgeHost
{
public:
    typedef std::function<void(bool* flag)> Answer;

    explicit ScPurgeHost(Answer answer = [](bool*) {}) : mAnswer(std::move(answer))
    {
        U_SetPurgeRequestCallback(&Ask, this);
    }
    ~ScPurgeHost() { U_SetPurgeRequestCallback(nullptr, nullptr); }
    ScPurgeHost(const ScPurgeHost&) = delete;
    ScPurgeHost& operator=(const ScPurgeHost&) = delete;

    struct Request
    {
        U_u64 block;
        U_u64 amount;
    };
    std::vector<Request> mRequests;

private:
    static int Ask(void* refcon, U_u64 block, U_u64 amount, bool* flag)
    {
        ScPurgeHost& self = *static_cast<ScPurgeHost*>(refcon);
        self.mRequests.push_back({block, amount});
        self.mAnswer(flag);
        return 0;
    }

    const Answer mAnswer;
};

#endif
