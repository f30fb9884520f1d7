// A function that a switch puts in and takes out while other threads call it.

#ifndef PLATFORM_BASE_SWITCHED_FUNCTION_H
#define PLATFORM_BASE_SWITCHED_FUNCTION_H

#include <atomic>
#include <memory>

#include <boost/function.hpp>

#include "locks.h"

namespace platform
{
// Owners make theirs by new and never destroy it: static destructors log too.
template <class Signature> class SwitchedFunction
{
public:
    typedef boost::function<Signature> Function;

    void Set(const Function& function)
    {
        std::shared_ptr<const Function> fresh;
        if (function)
            fresh = std::make_shared<const Function>(function);
        // The old one ends after the lock: what it holds may log too.
        const ScLock lock(mLock);
        mFunction.swap(fresh);
        mInstalled = mFunction != nullptr;
    }

    // The function, null if none is installed. It is called through this copy,
    // with no lock held.
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
    std::atomic<bool> mInstalled{false}; // spares callers the lock
};
} // namespace platform

#endif
