// Flat stores: changes of entries, comments, and loads of several files.

#include <new>

#include <hollin/ImageView.h>

#include "tests/dictionary/Loading.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"

using hollin::Dictionary;
using hollin::kNoId;

namespace
{
// The texts of all identifiers below `count`.
std::u16string TextsById(const Dictionary& dictionary, std::uint32_t count)
{
    std::u16string texts;
    for (std::uint32_t id = 0; id < count; ++id)
        texts += TextById(dictionary, id) + u" ";
    return texts;
}

std::u16string CommentsById(const Dictionary& dictionary, std::uint32_t count)
{
    std::u16string comments;
    for (std::uint32_t id = 0; id < count; ++id)
        comments += ToText(dictionary.GetCommentById(id)) + u" ";
    return comments;
}

// A key of ten bytes, of which only every second one is hashed: all these keys are in one bucket.
std::string CrowdedKey(unsigned number)
{
    std::string key = "a0b0c0d0e0";
    for (std::size_t i = 1; i < key.size(); i += 2, number /= 10)
        key[i] = static_cast<char>('0' + number % 10);
    return key;
}

void SetWithoutMemory(Dictionary& dictionary, const char* key)
{
    try
    {
        Set(dictionary, key, u"new");
    }
    catch (const std::bad_alloc&)
    {
        return; // the key was not added
    }
}

std::vector<ImageEntry> CrowdedEntries(unsigned count)
{
    std::vector<ImageEntry> entries;
    for (unsigned number = 0; number < count; ++number)
        entries.push_back({CrowdedKey(number), u"of the file"});
    return entries;
}
} // namespace

// The file names the key's bucket, too, with no key in it.
TEST(FlatStore, KeyIsAddedToABucketThatAFileLeavesEmptyAfterAnAdditionThatFailed)
{
    ImageForm form;
    form.mSlots.push_back({"/other", "bb", "", false});
    form.AddToBucket(0);
    ASSERT_NE(BucketOf("/other"), BucketOf("/a"));
    form.mBuckets[BucketOf("/a")] = {};
    const std::string image = WriteForm(form).Image();

    bool failed = true;
    for (long nth = 1; failed; ++nth)
    {
        SCOPED_TRACE(nth);
        Dictionary flat(true);
        {
            const ScFailingNew failing(nth);
            SetWithoutMemory(flat, "/a");
            failed = failing.HasFailed();
        }
        if (!failed)
            break;
        Load(flat, image);
        ASSERT_NE(flat.GetId("/other"), kNoId);
        Set(flat, "/a", u"new");
        EXPECT_TRUE(flat.HasString("/a"));
    }
}

TEST(ImageView, FindsEachKeyAmongTheSlotsOfItsBucket)
{
    std::vector<ImageEntry> entries = CrowdedEntries(3);
    entries.insert(entries.begin(), {"/other", u"text"});
    for (const bool bigEndian : {false, true})
    {
        const std::string image = BuildFlat(entries, {7, bigEndian}).Image();
        const hollin::ImageView view(reinterpret_cast<const unsigned char*>(image.data()),
                                     image.size());
        ASSERT_TRUE(view.IsReadable());
        EXPECT_EQ(view.Report().mLongestBucket, 3u);
        for (std::uint32_t slot = 0; slot < entries.size(); ++slot)
            EXPECT_EQ(view.Find(entries[slot].key), slot);
        EXPECT_EQ(view.Find(CrowdedKey(9)), kNoId);
        EXPECT_EQ(view.Find("/none"), kNoId);
        EXPECT_EQ(view.SlotsIn(hollin::BucketOf(CrowdedKey(9))),
                  (std::vector<std::uint32_t>{1, 2, 3}));
        EXPECT_EQ(view.Report().mSlots, entries.size());
        std::size_t found = 0;
        for (std::uint32_t bucket = 0; bucket < hollin::kBucketCount; ++bucket)
            found += view.SlotsIn(bucket).size();
        EXPECT_EQ(found, entries.size());
    }
}

TEST(FlatStore, RunAboveTheLimitIsRefused)
{
    const std::string longest(65535, 'l');
    const std::u16string longestText(32767, u'l');
    const std::u16string tooLong(32768, u't');
    Dictionary flat(true);
    EXPECT_EQ(Set(flat, longest.c_str(), longestText, longestText.c_str()), 0u);
    EXPECT_EQ(Set(flat, (longest + "t").c_str(), u"v"), kNoId);
    for (const char* key : {longest.c_str(), "/new"})
    {
        EXPECT_EQ(Set(flat, key, tooLong), kNoId);
        EXPECT_EQ(Set(flat, key, u"v", tooLong.c_str()), kNoId);
    }
    EXPECT_EQ(TextsOf(flat), (KeyedTexts{{longest, longestText}}));
    EXPECT_EQ(CommentOf(flat, longest), longestText);
    EXPECT_EQ(Set(flat, "/new", u""), 1u);
}

TEST(FlatStore, KeyThatItsBucketListsTwiceIsRemoved)
{
    const ImageBuilder whole = BuildFlat(CrowdedEntries(20));
    Loaded flat(whole.With(whole.Offset("bucket identifiers") + 19 * std::size_t{4}, 0, 4));
    Set(flat, CrowdedKey(0).c_str(), u"a text in memory of its own");
    EXPECT_EQ(TextOf(flat, CrowdedKey(0)), u"a text in memory of its own");
    flat.RemoveString(CrowdedKey(0).c_str());
    EXPECT_EQ(TextOf(flat, CrowdedKey(0)), u"(none)");
}

TEST(FlatStore, CrowdedBucketIsSearchedWithoutMemoryAndByManyThreads)
{
    Dictionary flat(true);
    LoadFlat(flat, CrowdedEntries(200));
    {
        const ScFailingNew failing(1); // the index
        EXPECT_TRUE(flat.HasString(CrowdedKey(199).c_str()));
        EXPECT_TRUE(failing.HasFailed());
    }
    OnThreads(4, [&flat](int) {
        for (unsigned number = 0; number < 200; ++number)
            EXPECT_TRUE(flat.HasString(CrowdedKey(number).c_str()));
    });
}

TEST(FlatLayers, TextsThatShareBytesChangeIndependently)
{
    const ImageBuilder whole = BuildFlat({{"/a", u"text", u"note"}, {"/b", u"text", u"note"}});
    std::string image = whole.With(whole.Offset("value offsets") + 4, 0, 4);
    image[whole.Offset("comment offsets") + 4] = 0; // the bytes of the first comment
    for (const std::u16string text : {u"shor", u"s", u"longer"})
    {
        Loaded dictionary(image);
        LoadFlat(dictionary, {{"/a", text}});
        EXPECT_EQ(TextsById(dictionary, 2), text + u" text ");
        Set(dictionary, "/a", u"x", u"memo");
        EXPECT_EQ(TextsById(dictionary, 2), u"x text ");
        EXPECT_EQ(CommentsById(dictionary, 2), u"memo note ");
    }
}
