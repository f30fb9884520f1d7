// The flat store: adding, replacing, removing, comments, and files' blocks.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <hollin/Dictionary.h>
#include <hollin_private/FastArray.h>

#include "tests/dictionary/Texts.h"

using hollin::kNoId;
using hollin_private::ByteRun;
using hollin_private::FastArray;

namespace
{
class FlatStore : public testing::Test
{
protected:
    std::uint32_t Add(const std::string& key, const std::string& value)
    {
        return mStore.Add(ToRun(key), ToRun(value), nullptr);
    }

    std::uint32_t Add(const std::string& key, const std::string& value, const std::string& comment)
    {
        const ByteRun run = ToRun(comment);
        return mStore.Add(ToRun(key), ToRun(value), &run);
    }

    bool AdoptFile(FileBlock&& file, std::uint32_t base = 0)
    {
        return mStore.AdoptBlock(std::move(file.mBlock), std::move(file.mBuckets), base);
    }

    bool Adopt(const std::vector<Row>& rows, std::uint32_t base = 0)
    {
        return AdoptFile(FileBlock(rows), base);
    }

    std::uint32_t Find(const std::string& key) const { return mStore.Find(ToRun(key)); }

    // "none" if the key isn't there.
    std::string Get(const std::string& key) const
    {
        return Find(key) == kNoId ? "none" : Value(Find(key));
    }

    std::string Value(std::uint32_t id) const { return ToBytes(mStore.Value(id)); }
    std::string Comment(std::uint32_t id) const { return ToBytes(mStore.Comment(id)); }

    FastArray mStore;
};
} // namespace

TEST_F(FlatStore, NumbersItsEntries)
{
    EXPECT_EQ(Find("a"), kNoId);
    EXPECT_EQ(Add("a", "1"), 0u);
    EXPECT_EQ(Add("b", "2"), 1u);
    EXPECT_EQ(Add("a", "3"), 0u);
    EXPECT_EQ(Get("a") + Get("b") + Get("c") + Get("bb"), "32nonenone");
    EXPECT_EQ(ToBytes(mStore.Key(1)), "b");
    EXPECT_EQ(Value(2) + Value(kNoId), "");
    EXPECT_EQ(Add("e", ""), 2u);
    EXPECT_EQ(Get("e"), "");
    EXPECT_EQ(mStore.TotalIds(), 3u);
    EXPECT_EQ(mStore.LiveCount(), 3u);
}

TEST_F(FlatStore, KeysShareABucket)
{
    const std::string stem = "/U/Texts1";
    for (char c : std::string("abcd"))
        Add(Colliding(stem, c), std::string(1, c));
    for (char c : std::string("abcd"))
        EXPECT_EQ(Get(Colliding(stem, c)), std::string(1, c));
    EXPECT_EQ(Get(Colliding(stem, 'e')), "none");
    EXPECT_EQ(mStore.Buckets().Get(HashKey(ToRun(Colliding(stem, 'a')), 1021)).size(), 4u);
}

TEST_F(FlatStore, AHundredEntriesFillABlock)
{
    const std::uint32_t kEntries = 1150;
    for (std::uint32_t i = 0; i < kEntries; ++i)
        ASSERT_EQ(Add("/key/" + std::to_string(i), std::to_string(i)), i);
    ASSERT_EQ(mStore.Blocks().size(), 12u);
    EXPECT_EQ(mStore.Blocks()[0].mCount, 100u);
    EXPECT_EQ(mStore.Blocks()[11].mCount, 50u);
    EXPECT_EQ(mStore.Blocks()[11].mBaseId, 1100u);
    for (std::uint32_t i = 0; i < kEntries; ++i)
        ASSERT_EQ(Get("/key/" + std::to_string(i)), std::to_string(i));
    EXPECT_EQ(mStore.LiveCount(), kEntries);
}

TEST_F(FlatStore, AReplacedValueIsTheLast)
{
    // Of a file's entry and of one that was added.
    ASSERT_TRUE(Adopt({{"a", "1111"}, {"file", "2222"}, {"c", "3333"}}));
    Add("x", "4444");
    Add("added", "5555");
    Add("y", "6666");
    for (const std::string key : {"file", "added"})
    {
        const std::uint32_t id = Find(key);
        for (const std::string value : {"same", "ab", "abcdef", "", "abcdefghij", "abc", "abcde"})
        {
            SCOPED_TRACE(testing::Message() << key << " " << value);
            EXPECT_EQ(Add(key, value), id);
            EXPECT_EQ(Get(key), value);
        }
        EXPECT_EQ(Get("a") + Get("c") + Get("x") + Get("y"), "1111333344446666");
    }
    // By a part of the store itself.
    Add("file", "0123456789");
    const ByteRun stored = mStore.Value(Find("file"));
    mStore.Add(ToRun("file"), ByteRun{stored.mBytes + 2, 8}, nullptr);
    EXPECT_EQ(Get("file"), "23456789");
}

TEST_F(FlatStore, ARemovedEntryKeepsItsIdentifier)
{
    ASSERT_TRUE(Adopt({{"a", "1"}, {"b", "2"}}));
    Add("c", "3");
    for (const std::string key : {"b", "c"})
    {
        const std::uint32_t id = Find(key);
        EXPECT_EQ(mStore.Remove(id), id);
        EXPECT_EQ(Find(key), kNoId);
        EXPECT_FALSE(mStore.IsLive(id));
        EXPECT_EQ(Value(id), "");
        EXPECT_EQ(mStore.Remove(id), kNoId);
    }
    EXPECT_EQ(mStore.TotalIds(), 3u);
    EXPECT_EQ(mStore.LiveCount(), 1u);
    EXPECT_EQ(mStore.Blocks()[0].mCount, 2u);
    EXPECT_EQ(mStore.Remove(3), kNoId);
    EXPECT_EQ(Add("b", "4"), 3u);
    EXPECT_EQ(Get("b"), "4");
}

TEST_F(FlatStore, ASingleCommentAnswersForItsBlock)
{
    Add("a", "1");
    Add("b", "2", "note");
    Add("c", "3");
    EXPECT_EQ(Comment(0) + Comment(1) + Comment(2), "notenotenote");
    Add("a", "1", "first");
    EXPECT_EQ(Comment(0), "first");
    EXPECT_EQ(Comment(1), "note");
    EXPECT_EQ(Comment(2), "");
    Add("c", "3", "third");
    Add("b", "2");
    EXPECT_EQ(Comment(1), "note") << "none given";
    Add("b", "2", "a longer note");
    EXPECT_EQ(Comment(0) + Comment(1) + Comment(2), "firsta longer notethird");
    Add("b", "2", "");
    mStore.Remove(2);
    EXPECT_EQ(Comment(1) + Comment(2) + Comment(3), "");
    EXPECT_EQ(mStore.Blocks()[0].mCommentIds, (hollin_private::Table<std::uint32_t>{0, 1, 2}));
}

TEST_F(FlatStore, AFilesBlockTakesFurtherComments)
{
    FileBlock file({{"a", "1"}, {"b", "2"}, {"c", "3"}});
    file.mBlock.mCommentIds = {0, 2};
    file.mBlock.mComments.mOffsets = {0, 4};
    file.mBlock.mComments.mLengths = {4, 5};
    const std::string pool = "zeroother";
    file.mBlock.mComments.mPool.assign(pool.begin(), pool.end());
    ASSERT_TRUE(AdoptFile(std::move(file)));
    EXPECT_EQ(Comment(0) + "," + Comment(1) + "," + Comment(2), "zero,,other");
    Add("b", "2", "one");
    Add("c", "3", "two");
    ASSERT_TRUE(Adopt({{"a", "4"}}));
    EXPECT_EQ(Comment(0) + "," + Comment(1) + "," + Comment(2), "zero,one,two");
}

TEST_F(FlatStore, RunsTooLongAreRefused)
{
    const std::string longest(65535, 'l');
    const std::string tooLong(65536, 't');
    EXPECT_EQ(Add(longest, longest, longest), 0u);
    EXPECT_EQ(Get(longest), longest);
    EXPECT_EQ(Comment(0), longest);
    EXPECT_EQ(Add(tooLong, "v"), kNoId);
    for (const std::string& key : {longest, std::string("new")})
    {
        EXPECT_EQ(Add(key, tooLong), kNoId);
        EXPECT_EQ(Add(key, "v", tooLong), kNoId);
    }
    EXPECT_EQ(Get(longest), longest);
    EXPECT_EQ(mStore.TotalIds(), 1u);
}

TEST_F(FlatStore, AFileIsTakenAsItIs)
{
    ASSERT_TRUE(Adopt({{"a", "1"}, {"b", "2"}, {"", ""}, {"a", "3"}, {"odd", "456"}}));
    EXPECT_EQ(Get("a"), "1") << "the lower identifier";
    EXPECT_EQ(Get("b") + Get("odd"), "2456");
    EXPECT_EQ(mStore.TotalIds(), 5u);
    EXPECT_EQ(mStore.LiveCount(), 4u);
    EXPECT_EQ(Find(""), 2u);
    EXPECT_FALSE(mStore.IsLive(2));
    EXPECT_EQ(Add("c", "5"), 5u);
}

TEST_F(FlatStore, ASecondFileReplacesAndAdds)
{
    ASSERT_TRUE(Adopt({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    Add("d", "4");
    ASSERT_TRUE(Adopt({{"new", "5"}, {"b", "six"}, {"d", "7"}, {"", ""}}));
    EXPECT_EQ(Get("a") + Get("b") + Get("c") + Get("d") + Get("new"), "1six375");
    EXPECT_EQ(Value(1) + Value(3) + Value(4) + Value(5), "six75") << "in their old places";
    EXPECT_EQ(mStore.TotalIds(), 8u) << "grown by all of the file";
    EXPECT_EQ(mStore.LiveCount(), 5u);
    EXPECT_FALSE(mStore.IsLive(5));
    // The block that had room is no longer the last.
    EXPECT_EQ(Add("e", "8"), 8u);
    EXPECT_EQ(Get("e") + Get("d"), "87");
}

TEST_F(FlatStore, AFileLoadedAgainIsDropped)
{
    const std::vector<Row> rows = {{"a", "1"}, {"b", "2"}, {"", ""}};
    ASSERT_TRUE(Adopt(rows));
    Add("a", "changed");
    ASSERT_TRUE(Adopt(rows));
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(mStore.Blocks().size(), 1u);
    EXPECT_EQ(mStore.TotalIds(), 3u);
    ASSERT_TRUE(Adopt({{"", ""}}));
    ASSERT_TRUE(Adopt({}));
    EXPECT_EQ(Add("c", "3"), 3u);
}

TEST_F(FlatStore, IdentifiersOfRemovedSlotsStayInTheirBucket)
{
    ASSERT_TRUE(Adopt({{"a", "1"}, {"b", "2"}}));
    const std::string zero(1, '\0'); // which shares the bucket of removed slots here
    ASSERT_TRUE(Adopt({{"", ""}, {"a", "3"}, {zero, "4"}, {"", ""}}));
    const hollin_private::IdBuckets::Ids ids = mStore.Buckets().Get(0);
    EXPECT_EQ(std::vector<std::uint32_t>(ids.begin(), ids.end()),
              (std::vector<std::uint32_t>{2, 4, 5}));
    EXPECT_EQ(mStore.Buckets().Get(97).size(), 1u) << "a, which was merged";
    EXPECT_EQ(Find(""), 2u);
    EXPECT_EQ(Value(2) + Get(zero) + Get("a"), "43");
    // A continuation's, too.
    ASSERT_TRUE(Adopt({{"", ""}, {"c", "5"}}, 6));
    EXPECT_EQ(mStore.Buckets().Get(0).size(), 4u);
    EXPECT_EQ(Get("c"), "5");
}

TEST_F(FlatStore, ARemovedEntryMatchesNothingInAMerge)
{
    ASSERT_TRUE(Adopt({{"a", "1"}, {"b", "2"}}));
    mStore.Remove(0);
    ASSERT_TRUE(Adopt({{"a", "3"}, {"", "stale"}}));
    EXPECT_EQ(Find("a"), 2u);
    EXPECT_EQ(Get("a"), "3");
    EXPECT_EQ(Value(0), "");
}

TEST_F(FlatStore, LongKeysAreNeverEqualInAMerge)
{
    const std::string longest(1023, 'k');
    const std::string tooLong(1024, 'k');
    ASSERT_TRUE(Adopt({{longest, "1"}, {tooLong, "2"}}));
    ASSERT_TRUE(Adopt({{longest, "3"}, {tooLong, "4"}}));
    EXPECT_EQ(Get(longest), "3");
    EXPECT_EQ(Get(tooLong), "2") << "the first of the two";
    EXPECT_EQ(Value(3), "4");
}

TEST_F(FlatStore, IdentifiersDontRunOver)
{
    Add("a", "1");
    FileBlock file(std::vector<Row>{{"a", "2"}});
    file.mBlock.mCount = kNoId;
    EXPECT_FALSE(AdoptFile(std::move(file)));
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(mStore.TotalIds(), 1u);
}

TEST_F(FlatStore, ValuesWithoutKeysGoByIdentifier)
{
    Add("a", "1");
    FileBlock file({{"a", "2"}, {"b", "3"}});
    file.mBlock.mHasKeys = false;
    file.mBlock.mToldLive = 2;
    file.mBlock.mKeys = hollin_private::StoredRuns();
    ASSERT_TRUE(AdoptFile(std::move(file), 1));
    EXPECT_EQ(Value(1) + Value(2), "23");
    EXPECT_EQ(ToBytes(mStore.Key(1)), "");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(Get("b"), "none");
    EXPECT_EQ(mStore.Remove(1), kNoId);
    EXPECT_EQ(mStore.LiveCount(), 3u);
}
