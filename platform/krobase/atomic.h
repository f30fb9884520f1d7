// A word that threads share without a lock.

#ifndef KROBASE_ATOMIC_H
#define KROBASE_ATOMIC_H

#include <atomic>

namespace krobase
{
namespace threads
{
template <class T> class AtomicWrapper
{
public:
    constexpr explicit AtomicWrapper(T value) : mValue(value) {}

    T Get() const { return mValue.load(); }

    // Stores desired if the word holds expected. Returns whether it did.
    bool CompareExchange(T expected, T desired)
    {
        return mValue.compare_exchange_strong(expected, desired);
    }

private:
    std::atomic<T> mValue;
};
} // namespace threads
} // namespace krobase

#endif
