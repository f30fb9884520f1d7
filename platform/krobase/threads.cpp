#include "threads.h"

#include <chrono>

#include <boost/make_shared.hpp>

#include <win32/exceptions.h>
#include <win32/process.h>
#include <win32/threads.h>

#include "gate.h"

namespace krobase
{
namespace threads
{
unsigned int GetCurrentThreadID()
{
    return win32::GetCurrentThreadId();
}

unsigned int GetCurrentProcessID()
{
    return win32::GetCurrentProcessId();
}

void SetCurrentThreadName(const char* name)
{
    const unsigned int kCallingThread = 0xFFFFFFFFu;
    const win32::ThreadNameRecord record = {0x1000, name, kCallingThread, 0};
    const unsigned int kArgumentCount = 6; // the size of the record in words of 32 bits
    win32::RaiseException(win32::kThreadNamingException, 0, kArgumentCount, &record);
}

Gate::Gate(bool open) : mOpen(open) {}

Gate::~Gate() = default;

void Gate::Open()
{
    const platform::ScLock lock(mLock);
    mOpen = true;
    mOpened.NotifyAll();
}

bool Gate::PassThrough(int timeout) const
{
    const auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
    const platform::ScLock lock(mLock);
    while (!mOpen)
    {
        if (!mOpened.WaitUntil(mLock, due))
            return mOpen;
    }
    return true;
}

OpenOnceGate::OpenOnceGate() : mGate(boost::make_shared<Gate>(false)), mWeakGate(mGate) {}

OpenOnceGate::~OpenOnceGate() = default;

void OpenOnceGate::Open()
{
    boost::shared_ptr<Gate> gate;
    gate.swap(mGate);
    if (gate)
        gate->Open();
}

bool OpenOnceGate::PassThrough(int timeout) const
{
    if (const boost::shared_ptr<Gate> gate = mWeakGate.lock())
        return gate->PassThrough(timeout);
    // A failed lock() has no memory order. expired() reads the count with acquire order, so the
    // opener's writes before Open happen before this return.
    return mWeakGate.expired();
}
} // namespace threads
} // namespace krobase
