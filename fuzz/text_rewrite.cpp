// Does a dictionary of a text, written as an image or as a text and read again, have the same
// texts?

#include <algorithm>
#include <cstddef>

#include <hollin_private/ImageCursor.h>

#include "load.h"

namespace
{
using hollin_private::kImageMagic;

// Returns whether the text form keeps the entry: it protects no notations and no key.
bool IsKept(const std::string& key, const hollin::ZString& text)
{
    const auto isPlain = [](std::uint16_t unit) {
        return unit != 0 && unit != '^' && unit != '\\' && unit != '#' && unit != 0x2028 &&
               unit != 0x2029;
    };
    return IsNameable(key) && key.find_first_of("\"\\\r\n") == key.npos &&
           std::all_of(text.Data(), text.Data() + text.Length(), isPlain);
}

// The entries of `read` are in `again` too, which has no others.
void RequireTexts(hollin::Dictionary& read, hollin::Dictionary& again, bool isText)
{
    std::uint32_t id = 0;
    std::ptrdiff_t more = 0; // entries of `read`
    read.ResetIterator();
    while (read.NextId(&id))
    {
        const std::string key = CurrentKey(read);
        const hollin::ZString text = read.CurrentText();
        if (isText ? !IsKept(key, text) : !IsNameable(key))
            continue;
        Require(again.HasString(key.c_str()));
        Require(again.GetString(key.c_str()) == text);
        ++more;
    }
    again.ResetIterator();
    while (again.NextId(&id))
        more -= IsNameable(CurrentKey(again));
    Require(more == 0);
}

bool IsEachKept(hollin::Dictionary& dictionary)
{
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
    {
        if (!IsKept(CurrentKey(dictionary), dictionary.CurrentText()))
            return false;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = TextOf(data, size);
    // An image of version 1 may have a key in a bucket where no look-up finds the key.
    if (text.compare(0, sizeof kImageMagic - 1, kImageMagic) == 0)
        return 0;
    hollin::Dictionary read(size % 16 >= 8); // of either store
    Load(read, text);
    const bool isText = size % 8 >= 4;
    // An entry that the text form does not keep may read as another key.
    if (isText && !IsEachKept(read))
        return 0;
    const auto mode = isText ? hollin::Dictionary::kText : hollin::Dictionary::kBinary;
    hollin::Dictionary again;
    Require(Load(again, Written(read, mode, size % 3 ? 1 : 0)));
    RequireTexts(read, again, isText);
    return 0;
}
