// Thread-local variables of Windows, which thread_local.h declares.

#ifndef PLATFORM_BASE_THREAD_WORD_NATIVE_H
#define PLATFORM_BASE_THREAD_WORD_NATIVE_H

#include <atomic>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "export.h"

namespace platform
{
// A word of each thread, 0 at first, in a slot of the system's thread-local storage. The word
// is there from before the first static constructor until the thread is gone, and no use of
// the word changes the system's last error.
class PLATFORM_EXPORT ThreadSlot
{
public:
    constexpr ThreadSlot() = default;
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    void* Read() const;

    // Ends the process if the system has no slot, or no memory for a slot. A process has 64
    // slots that take no memory, and about 1000 others.
    void Write(void* word);

private:
    std::atomic<unsigned long> mIndex{0}; // one more than the system's index; 0 before a Write
};

// A value of one thread in as many slots as it takes, zero at first.
template <class Value> class ThreadWord
{
public:
    constexpr ThreadWord() = default;

    operator Value() const
    {
        void* words[kSlots];
        for (std::size_t i = 0; i < kSlots; ++i)
            words[i] = mSlots[i].Read();
        Value value;
        std::memcpy(&value, words, sizeof(value));
        return value;
    }

    ThreadWord& operator=(const Value& value)
    {
        void* words[kSlots] = {};
        std::memcpy(words, &value, sizeof(value));
        for (std::size_t i = 0; i < kSlots; ++i)
            mSlots[i].Write(words[i]);
        return *this;
    }

    Value operator->() const { return *this; }
    Value operator++() { return Store(static_cast<Value>(Value(*this) + 1)); }
    Value operator--() { return Store(static_cast<Value>(Value(*this) - 1)); }

private:
    static_assert(std::is_trivially_copyable_v<Value>);

    static constexpr std::size_t kSlots = (sizeof(Value) + sizeof(void*) - 1) / sizeof(void*);

    Value Store(Value value)
    {
        *this = value;
        return value;
    }

    ThreadSlot mSlots[kSlots];
};
} // namespace platform

#endif
