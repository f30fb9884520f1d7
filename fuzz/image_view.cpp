// Does a view of an image in place agree with a dictionary about the entries, and is each image of
// version 2 readable that a dictionary loads?

#include <algorithm>
#include <vector>

#include <hollin/ImageView.h>

#include "load.h"

namespace
{
// A dictionary of an image without live slots is empty.
void Compare(const hollin::ImageView& view, const hollin::Dictionary& dictionary)
{
    std::vector<std::uint16_t> text;
    for (std::uint32_t slot = 0; view.Report().mLive && slot < view.Slots(); ++slot)
    {
        const std::string key(view.Key(slot));
        if (!view.Report().mKeyed || !key.empty())
        {
            text.clear();
            view.AppendText(slot, &text);
            const hollin::ZString stored = dictionary.GetStringById(slot);
            Require(std::equal(text.begin(), text.end(), stored.Data(),
                               stored.Data() + stored.Length()));
        }
        if (IsNameable(key))
            Require(view.Find(key) == dictionary.GetId(key.c_str()));
    }
    for (std::uint32_t i = 0; view.Report().mLive && i < view.Comments(); ++i)
    {
        text.clear();
        view.AppendComment(i, &text);
        const hollin::ZString stored = dictionary.GetCommentById(view.CommentSlot(i));
        Require(
            std::equal(text.begin(), text.end(), stored.Data(), stored.Data() + stored.Length()));
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const hollin::ImageView view(data, size);
    hollin::Dictionary dictionary;
    const bool isGood = Load(dictionary, data, size);
    Require(view.IsReadable() == (isGood && view.Report().mMajor == 2)); // 0 for a text
    if (view.IsReadable())
        Compare(view, dictionary);
    return 0;
}
