// Helpers of the targets that load dictionaries.

#ifndef FUZZ_LOAD_H
#define FUZZ_LOAD_H

#include <cstdint>
#include <sstream>
#include <string>

#include <hollin/Dictionary.h>

#include "require.h"

// Returns whether the load found no damage. A text that can't be converted counts as damage.
inline bool Load(hollin::Dictionary& dictionary, const std::uint8_t* data, std::size_t size)
{
    try
    {
        dictionary.LoadFromMemory(data, static_cast<std::int32_t>(size), false);
        return dictionary.IsGood();
    }
    catch (const hollin::VoErrException&)
    {
        return false;
    }
}

inline bool Load(hollin::Dictionary& dictionary, const std::string& bytes)
{
    return Load(dictionary, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

// The input as a text: in the active code page, or in UTF-16 of either byte order.
inline std::string TextOf(const std::uint8_t* data, std::size_t size)
{
    const std::string mark = size % 2 ? "" : size % 4 ? "\xFF\xFE" : "\xFE\xFF";
    return mark + std::string(reinterpret_cast<const char*>(data), size);
}

// The key of the walk's entry, of either store.
inline std::string CurrentKey(const hollin::Dictionary& dictionary)
{
    char buffer[64];
    const std::uint32_t length = dictionary.CurrentKey(buffer, sizeof buffer, false);
    if (length < sizeof buffer)
        return std::string(buffer, length);
    std::string key(length + 1, '\0');
    dictionary.CurrentKey(&key[0], length + 1, true);
    key.pop_back();
    return key;
}

// Returns whether a ZString can have the key.
inline bool IsNameable(const std::string& key)
{
    return !key.empty() && key[0] != '$' && key.find_first_of(std::string("=\0", 2)) == key.npos;
}

inline std::string Written(const hollin::Dictionary& dictionary,
                           hollin::Dictionary::SerializeMode mode, int byteOrder = 1)
{
    std::ostringstream written;
    const std::size_t size = dictionary.Serialize(written, mode, nullptr, byteOrder, 0);
    std::string bytes = written.str();
    Require(size == bytes.size());
    return bytes;
}

// Walks both dictionaries: they have the same keys and texts, in the same order.
inline void RequireSameEntries(hollin::Dictionary& left, hollin::Dictionary& right)
{
    std::uint32_t leftId = 0;
    std::uint32_t rightId = 0;
    left.ResetIterator();
    right.ResetIterator();
    while (left.NextId(&leftId))
    {
        Require(right.NextId(&rightId) && leftId == rightId);
        Require(CurrentKey(left) == CurrentKey(right));
        Require(left.CurrentText() == right.CurrentText());
    }
    Require(!right.NextId(&rightId));
}

#endif
