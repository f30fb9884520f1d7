#include "gate.h"

#include <chrono>

#include <boost/make_shared.hpp>

namespace krobase
{
namespace threads
{
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
    // A failed lock orders nothing. This look at the count does: what the opener
    // did before it let go is seen from here on.
    return mWeakGate.expired();
}
} // namespace threads
} // namespace krobase
