// A vector of numbers or bytes that is filled by one copy: growing it leaves
// what is new without a value.

#ifndef HOLLIN_PRIVATE_TABLE_H
#define HOLLIN_PRIVATE_TABLE_H

#include <cstddef>
#include <iterator>
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

// Room for one more item, which then is inserted without a failure.
template <class Items> void MakeRoom(Items& items)
{
    if (items.size() == items.capacity())
        items.reserve(items.size() + items.size() / 2 + 4);
}

template <class Items, class Item> void InsertAt(Items& items, std::size_t index, Item&& item)
{
    items.insert(std::next(items.begin(), static_cast<std::ptrdiff_t>(index)),
                 std::forward<Item>(item));
}
} // namespace hollin_private

#endif
