// Texts as literals, and blocks as a file would hold them.

#ifndef TESTS_DICTIONARY_TEXTS_H
#define TESTS_DICTIONARY_TEXTS_H

#include <string>
#include <vector>

#include <hollin/Dictionary.h>
#include <hollin/VoErrException.h>
#include <hollin/ZString.h>
#include <hollin_private/ByteRun.h>
#include <hollin_private/FastArrayBlock.h>
#include <hollin_private/IdBuckets.h>

inline hollin::ZString ToZString(const std::u16string& text)
{
    return hollin::ZString(reinterpret_cast<const std::uint16_t*>(text.data()),
                           static_cast<std::uint32_t>(text.size()));
}

inline std::u16string ToText(const hollin::ZString& text)
{
    return std::u16string(text.Data(), text.Data() + text.Length());
}

// Sets a text, and a comment if one is given.
inline std::uint32_t Set(hollin::Dictionary& dictionary, const char* key,
                         const std::u16string& text, const char16_t* comment = nullptr)
{
    const auto* units = reinterpret_cast<const std::uint16_t*>(text.data());
    const std::size_t length = comment ? std::u16string(comment).size() : 0;
    return dictionary.SetString(key, units, static_cast<std::uint32_t>(2 * text.size()),
                                reinterpret_cast<const std::uint16_t*>(comment),
                                static_cast<std::uint32_t>(2 * length));
}

// The code of what is thrown, 0 for nothing.
template <class Body> std::int32_t CodeThrownBy(const Body& body)
{
    try
    {
        body();
    }
    catch (const hollin::VoErrException& failure)
    {
        return failure.mCode;
    }
    return 0;
}

// The runs point into their arguments.
inline hollin_private::ByteRun ToRun(const std::string& bytes)
{
    return hollin_private::ByteRun{reinterpret_cast<const unsigned char*>(bytes.data()),
                                   static_cast<std::uint32_t>(bytes.size())};
}

inline std::string ToBytes(const hollin_private::ByteRun& run)
{
    return std::string(reinterpret_cast<const char*>(run.mBytes), run.mLength);
}

// Keys with values; the values are bytes, of any length. An empty key makes a
// removed slot, which stands in bucket 0.
struct Row
{
    std::string mKey;
    std::string mValue;
};

struct FileBlock
{
    explicit FileBlock(const std::vector<Row>& rows);

    hollin_private::FastArrayBlock mBlock;
    hollin_private::FileBuckets mBuckets;
};

// A key that shares its bucket with all others of the same stem, which has nine
// characters.
inline std::string Colliding(const std::string& stem, char distinct)
{
    return stem.substr(0, 1) + distinct + stem.substr(1);
}

#endif
