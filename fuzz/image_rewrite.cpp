// Does a dictionary that was written and read again have the same entries?

#include <vector>

#include <hollin/ImageView.h>

#include "load.h"

namespace
{
// The comments of the entries of a flat store, by identifier.
std::vector<hollin::ZString> Comments(hollin::Dictionary& dictionary, std::size_t* count)
{
    std::vector<hollin::ZString> comments;
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
    {
        comments.push_back(dictionary.GetCommentById(id));
        *count += comments.back().Length() != 0;
    }
    return comments;
}

// Empty comments are not written, and a lone comment is that of all entries. So only two or more
// comments are the same again.
void RequireSameComments(hollin::Dictionary& left, hollin::Dictionary& right)
{
    std::size_t leftCount = 0;
    std::size_t rightCount = 0;
    const std::vector<hollin::ZString> comments = Comments(left, &leftCount);
    if (leftCount > 1)
        Require(comments == Comments(right, &rightCount));
}

// The texts by identifier, without keys.
void RequireSameTexts(hollin::Dictionary& left, const hollin::Dictionary& right)
{
    std::uint32_t id = 0;
    left.ResetIterator();
    while (left.NextId(&id))
        Require(left.CurrentText() == right.GetStringById(id));
}

bool HasEmptyKey(hollin::Dictionary& dictionary)
{
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
    {
        if (!dictionary.CurrentKey(nullptr, 0, false))
            return true;
    }
    return false;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    hollin::Dictionary dictionary;
    Load(dictionary, data, size);
    const bool isKeyed = size % 4 != 0;
    const std::string image = Written(
        dictionary, isKeyed ? hollin::Dictionary::kBinary : hollin::Dictionary::kBinaryWithoutKeys,
        size % 2);
    hollin::Dictionary again;
    Require(Load(again, image));
    // An entry of a hash store may have an empty key, which marks a removed slot in an image.
    if (!hollin::ImageView(data, size).IsReadable() && HasEmptyKey(dictionary))
        return 0;
    RequireSameTexts(dictionary, again);
    if (!isKeyed)
        return 0;
    RequireSameEntries(dictionary, again);
    RequireSameComments(dictionary, again);
    std::uint32_t id = 0;
    again.ResetIterator();
    if (again.NextId(&id)) // an empty store has no keyed block
        Require(Written(again, hollin::Dictionary::kBinary, size % 2) == image);
    return 0;
}
