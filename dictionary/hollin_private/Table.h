// A vector of numbers or bytes that is filled by one copy: growing it leaves
// what is new without a value.

#ifndef HOLLIN_PRIVATE_TABLE_H
#define HOLLIN_PRIVATE_TABLE_H

#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace hollin_private
{
template <class T> class UninitializedAllocator : public std::allocator<T>
{
public:
    template <class U> struct rebind
    {
        typedef UninitializedAllocator<U> other;
    };

    UninitializedAllocator() = default;
    template <class U> UninitializedAllocator(const UninitializedAllocator<U>&) {}

    template <class U> void construct(U* place)
    {
        static_assert(std::is_trivial<U>::value, "only plain values may be left without one");
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Arguments> void construct(U* place, Arguments&&... arguments)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

template <class T> using Table = std::vector<T, UninitializedAllocator<T>>;
} // namespace hollin_private

#endif
