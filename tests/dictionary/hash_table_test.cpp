// The hash of a key, and the store that chains entries.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <hollin_private/DictionaryEntry.h>
#include <hollin_private/HashTable.h>

#include "tests/dictionary/Texts.h"

using hollin_private::ByteRunKey;
using hollin_private::DictionaryEntry;
using hollin_private::HashTable;
using hollin_private::kBucketCount;

namespace
{
std::unique_ptr<DictionaryEntry> Entry(const std::string& key, const std::u16string& value)
{
    return std::make_unique<DictionaryEntry>(ToRun(key), ByteRunKey::kCopy, ToZString(value));
}

// "none" if the key isn't there.
std::u16string Find(const HashTable& table, const std::string& key)
{
    const auto* found = static_cast<const DictionaryEntry*>(
        table.Find(ByteRunKey(ToRun(key), ByteRunKey::kBorrow)));
    return found ? ToText(found->mValue) : u"none";
}

std::u16string Remove(HashTable& table, const std::string& key)
{
    const std::u16string found = Find(table, key);
    table.Remove({table.Find(ByteRunKey(ToRun(key), ByteRunKey::kBorrow))});
    return found;
}

std::u16string Walk(HashTable& table)
{
    std::u16string texts;
    while (table.Next())
        texts += ToText(static_cast<const DictionaryEntry*>(table.IteratorItem())->mValue);
    return texts;
}
} // namespace

TEST(HashKey, SamplesAKeyAtAFifthOfItsLength)
{
    struct Sample
    {
        std::string key;
        std::uint32_t tableSize;
        std::uint32_t hash;
    };
    const Sample samples[] = {
        {"", kBucketCount, 0},
        {"a", kBucketCount, 97},
        {"/a", kBucketCount, 580},
        {"\xFF", kBucketCount, 255}, // bytes are unsigned
        {"\xFF\xFF", 100000, 255 * 32 + 255},
        {"abc", 1000000, (97 * 32 + 98) * 32 + 99},
    };
    for (const Sample& sample : samples)
        EXPECT_EQ(HashKey(ToRun(sample.key), sample.tableSize), sample.hash) << sample.key;

    for (std::size_t length : {1u, 4u, 5u, 9u, 10u, 14u, 15u, 100u, 104u})
    {
        const std::size_t step = std::max<std::size_t>(length / 5, 1);
        const std::string key(length, 'k');
        for (std::size_t i = 0; i < length; ++i)
        {
            std::string other = key;
            other[i] = 'l';
            EXPECT_EQ(HashKey(ToRun(other), kBucketCount) != HashKey(ToRun(key), kBucketCount),
                      i % step == 0)
                << length << " " << i;
        }
    }
}

TEST(HashTable, TheLaterOfTwoEqualKeysIsFound)
{
    HashTable table;
    EXPECT_EQ(Find(table, "a"), u"none");
    EXPECT_EQ(Remove(table, "a"), u"none");
    table.Insert(Entry("a", u"1"));
    table.Insert(Entry("b", u"2"));
    table.Insert(Entry("a", u"3"));
    EXPECT_EQ(Find(table, "a"), u"3");
    EXPECT_EQ(Remove(table, "a"), u"3");
    EXPECT_EQ(Find(table, "a"), u"1");
    EXPECT_EQ(Remove(table, "a"), u"1");
    EXPECT_EQ(Find(table, "a"), u"none");
    EXPECT_EQ(Find(table, "b"), u"2");
    EXPECT_EQ(Find(table, "A"), u"none");
    EXPECT_EQ(Find(table, ""), u"none");
}

TEST(HashTable, ChainsHoldDifferentKeys)
{
    HashTable table;
    const std::string stem = "/U/Texts1";
    for (char c : std::string("abcd"))
        table.Insert(Entry(Colliding(stem, c), std::u16string(1, static_cast<char16_t>(c))));
    const std::uint32_t bucket = HashKey(ToRun(Colliding(stem, 'a')), kBucketCount);
    EXPECT_EQ(Walk(table), u"dcba");
    EXPECT_EQ(Remove(table, Colliding(stem, 'b')), u"b");
    EXPECT_EQ(Remove(table, Colliding(stem, 'd')), u"d");
    EXPECT_EQ(Remove(table, Colliding(stem, 'b')), u"none");
    EXPECT_EQ(Find(table, Colliding(stem, 'a')), u"a");
    EXPECT_EQ(Find(table, Colliding(stem, 'c')), u"c");
    EXPECT_EQ(Walk(table), u"ca");
    EXPECT_NE(table.Chain(bucket), nullptr);
    EXPECT_EQ(table.Chain(bucket + 1), nullptr);
}

TEST(HashTable, AFilesEntriesStandInFrontOfAnOldChain)
{
    HashTable table;
    const std::uint32_t bucket = HashKey(ToRun("a"), kBucketCount);
    for (const std::u16string file : {u"12", u"345"})
    {
        hollin_private::HashItem* previous = nullptr;
        for (char16_t text : file)
            previous = table.InsertBehind(bucket, previous, Entry("a", std::u16string(1, text)));
    }
    EXPECT_EQ(Walk(table), u"34512");
    EXPECT_EQ(Find(table, "a"), u"3");
}

TEST(HashTable, AWalkVisitsEachItemAndStartsAnew)
{
    HashTable table;
    EXPECT_FALSE(table.Next());
    std::map<std::u16string, int> expected;
    for (int i = 0; i < 3000; ++i)
    {
        const std::string key = "/key/" + std::to_string(i);
        const std::u16string value(key.begin(), key.end());
        table.Insert(Entry(key, value));
        expected[value] = 2;
    }
    std::map<std::u16string, int> visits;
    for (int walk = 0; walk < 2; ++walk)
    {
        while (table.Next())
            ++visits[ToText(static_cast<const DictionaryEntry*>(table.IteratorItem())->mValue)];
        EXPECT_EQ(table.IteratorItem(), nullptr);
    }
    EXPECT_EQ(visits, expected);
}

TEST(HashTable, AWalkEndsAtTheRemovalOfItsItem)
{
    HashTable table;
    table.Insert(Entry("a", u"1"));
    table.Insert(Entry("b", u"2"));
    ASSERT_TRUE(table.Next());
    EXPECT_EQ(Remove(table, "a"), u"1");
    EXPECT_EQ(table.IteratorItem(), nullptr);
    EXPECT_FALSE(table.Next());
    EXPECT_EQ(Walk(table), u"2");
}

TEST(ByteRunKey, OwnsItsBytesOnlyIfAsked)
{
    std::string bytes = "key";
    const ByteRunKey borrowed(ToRun(bytes), ByteRunKey::kBorrow);
    const ByteRunKey owned(ToRun(bytes), ByteRunKey::kCopy);
    const auto copy = std::make_unique<ByteRunKey>(borrowed);
    EXPECT_TRUE(borrowed.Equals(owned));
    bytes = "kez";
    EXPECT_FALSE(borrowed.Equals(owned));
    EXPECT_TRUE(copy->Equals(owned));
    EXPECT_EQ(ByteRunKey(ToRun(""), ByteRunKey::kCopy).Key().mBytes, nullptr);
}
