// Loads images of any form from memory into an empty dictionary and into a loaded one. The
// check and the load into the empty dictionary must agree about damage, a view in place and the
// dictionary about the entries.

#include "load.h"

#include <algorithm>
#include <vector>

#include <hollin/ImageView.h>

namespace
{
// A dictionary of an image without live slots is empty.
void Compare(const hollin::ImageView& view, const hollin::Dictionary& dictionary)
{
    for (std::uint32_t slot = 0; view.Report().mLive && slot < view.Slots(); ++slot)
    {
        const std::string key(view.Key(slot));
        if (!view.Report().mKeyed || (!key.empty() && key.find('\0') == std::string::npos))
        {
            std::vector<std::uint16_t> text;
            view.AppendText(slot, &text);
            const hollin::ZString stored = dictionary.GetStringById(slot);
            Require(std::equal(text.begin(), text.end(), stored.Data(),
                               stored.Data() + stored.Length()));
        }
        if (key.find_first_of(std::string("=\0", 2)) == std::string::npos && !key.empty())
            Require(view.Find(key) == dictionary.GetId(("$$$" + key).c_str()));
    }
    for (std::uint32_t i = 0; i < view.Comments(); ++i)
    {
        std::vector<std::uint16_t> comment;
        Require(view.CommentSlot(i) < view.Slots());
        view.AppendComment(i, &comment);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const bool damaged = hollin::CheckImage(data, size).mDamaged;
    hollin::Dictionary layered(true);
    const std::uint16_t first[] = {'f', 'i', 'r', 's', 't'};
    layered.SetString("/a", first, sizeof(first), first, 4);
    layered.SetString("/QX/U/Demo", first, sizeof(first));
    layered.RemoveString("/QX/U/Demo");
    Load([&] {
        hollin::Dictionary fresh;
        fresh.LoadFromMemory(data, static_cast<std::int32_t>(size), false);
        Require(fresh.IsGood() != damaged);
        const hollin::ImageView view(data, size);
        if (view.IsReadable())
            Compare(view, fresh);
        Use(fresh);
    });
    Load([&] { layered.LoadFromMemory(data, static_cast<std::int32_t>(size), true); });
    Use(layered);
    return 0;
}
