// A word that threads share without a lock.
//
//     static krobase::threads::AtomicWrapper<bool> sDone(false);
//     if (sDone.CompareExchange(false, true))
//         return; // the first caller
//
// Thread safety: all functions may be called on any thread. Ordering: all operations are
// sequentially consistent.

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

    // Stores `desired` if the word equals `expected`. Returns whether `desired` was stored.
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
