// Does a dictionary that was written and read again have the same entries?

#include <algorithm>
#include <string>
#include <vector>

#include <hollin/ImageCheck.h>
#include <hollin/ImageView.h>

#include "load.h"

namespace
{
// The comments by identifier.
std::vector<hollin::ZString> Comments(const hollin::Dictionary& dictionary, std::size_t slots)
{
    std::vector<hollin::ZString> comments;
    for (std::uint32_t id = 0; id < slots; ++id)
        comments.push_back(dictionary.GetCommentById(id));
    return comments;
}

// Empty comments are not written, and a lone comment is that of all entries.
void RequireSameComments(const hollin::Dictionary& left, const hollin::Dictionary& right,
                         const std::string& image)
{
    const std::size_t slots =
        hollin::CheckImage(reinterpret_cast<const unsigned char*>(image.data()), image.size())
            .mSlots;
    std::vector<hollin::ZString> expected = Comments(left, slots);
    const auto isThere = [](const hollin::ZString& comment) { return comment.Length() != 0; };
    const auto first = std::find_if(expected.begin(), expected.end(), isThere);
    if (std::count_if(expected.begin(), expected.end(), isThere) == 1)
        expected.assign(slots, hollin::ZString(*first));
    Require(Comments(right, slots) == expected);
}

// The texts by identifier. Each is there, also an empty text.
void RequireSameTexts(hollin::Dictionary& left, const hollin::Dictionary& right, bool isKeyed)
{
    std::uint32_t id = 0;
    left.ResetIterator();
    while (left.NextId(&id))
    {
        const std::uint16_t* units = nullptr;
        std::uint32_t length = 0;
        const bool isRemoved = isKeyed && left.CurrentKey(nullptr, 0, false) == 0 &&
                               !left.GetRawStringById(id, &units, &length);
        Require(right.GetRawStringById(id, &units, &length) == !isRemoved);
        Require(left.CurrentText() == hollin::ZString(units, length));
    }
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
    RequireSameTexts(dictionary, again, isKeyed);
    if (!isKeyed)
        return 0;
    RequireSameEntries(dictionary, again);
    RequireSameComments(dictionary, again, image);
    std::uint32_t id = 0;
    again.ResetIterator();
    if (again.NextId(&id)) // an empty store has no keyed block
        Require(Written(again, hollin::Dictionary::kBinary, size % 2) == image);
    return 0;
}
