// A function that one thread replaces while other threads call it.

#ifndef PLATFORM_BASE_SWITCHED_FUNCTION_H
#define PLATFORM_BASE_SWITCHED_FUNCTION_H

#include <atomic>
#include <memory>

#include <boost/function.hpp>

#include "locks.h"

namespace platform
{
// Owners allocate theirs with new and never delete it, since static destructors log, too.
template <class Signature> class SwitchedFunction
{
public:
    typedef boost::function<Signature> Function;

    void Set(const Function& function)
    {
        std::shared_ptr<const Function> fresh;
        if (function)
            fresh = std::make_shared<const Function>(function);
        // The old function is destroyed after the lock: its captures may log as they end.
        const ScLock lock(mLock);
        mFunction.swap(fresh);
        mInstalled = mFunction != nullptr;
    }

    // Returns the function, or null without one. Callers call the function through this
    // pointer, with no lock held.
    std::shared_ptr<const Function> Get() const
    {
        if (!mInstalled.load(std::memory_order_relaxed))
            return nullptr;
        const ScLock lock(mLock);
        return mFunction;
    }

    bool Installed() const { return mInstalled.load(std::memory_order_relaxed); }

private:
    mutable Mutex mLock;
    std::shared_ptr<const Function> mFunction PLATFORM_GUARDED_BY(mLock);
    std::atomic<bool> mInstalled{false}; // without a function Get takes no lock
};
} // namespace platform

#endif
