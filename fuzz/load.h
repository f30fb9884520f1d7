// Helpers of the loader targets.

#ifndef FUZZ_LOAD_H
#define FUZZ_LOAD_H

#include <cstdint>
#include <sstream>
#include <string>

#include <hollin/Dictionary.h>

#include "require.h"

// Visits and writes all entries, which must be valid also after a damaged image.
inline void Use(hollin::Dictionary& dictionary)
{
    dictionary.GetLanguage();
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
    {
        char key[128];
        const std::uint32_t length = dictionary.CurrentKey(key, sizeof(key), false);
        dictionary.GetStringById(id);
        dictionary.GetCommentById(id);
        if (length < sizeof(key))
        {
            dictionary.HasString(key);
            dictionary.GetString(key);
            dictionary.GetComment(key);
        }
    }
    std::ostringstream written;
    dictionary.Serialize(written, hollin::Dictionary::kBinary, nullptr, 1, 0);
    dictionary.Serialize(written, hollin::Dictionary::kBinaryWithoutKeys, nullptr, 0, 0);
    dictionary.Serialize(written, hollin::Dictionary::kText, nullptr, 1, 0);
}

// Calls body, and ignores the exception of a text that can't be converted.
template <class Body> void Load(Body body)
{
    try
    {
        body();
    }
    catch (const hollin::VoErrException&)
    {
    }
}

#endif
