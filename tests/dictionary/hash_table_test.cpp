// The hash of a key, and the store that chains entries.

#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <hollin_private/DictionaryEntry.h>
#include <hollin_private/HashTable.h>

#include "tests/dictionary/Texts.h"

using hollin_private::ByteRunKey;
using hollin_private::DictionaryEntry;
using hollin_private::kBucketCount;

namespace
{
std::unique_ptr<DictionaryEntry> Entry(const std::string& key, const std::u16string& value)
{
    return std::make_unique<DictionaryEntry>(ToRun(key), ByteRunKey::kCopy, ToZString(value));
}

class HashTable : public testing::Test
{
protected:
    static std::u16string Text(const hollin_private::HashItem* item)
    {
        return item ? ToText(static_cast<const DictionaryEntry*>(item)->mValue) : u"none";
    }

    const hollin_private::HashItem* Item(const std::string& key) const
    {
        return mTable.Find(ByteRunKey(ToRun(key), ByteRunKey::kBorrow));
    }

    std::u16string Find(const std::string& key) const { return Text(Item(key)); }

    std::u16string Remove(const std::string& key)
    {
        const std::u16string found = Find(key);
        mTable.Remove({Item(key)});
        return found;
    }

    std::u16string Walk()
    {
        std::u16string texts;
        while (mTable.Next())
            texts += Text(mTable.IteratorItem());
        return texts;
    }

    hollin_private::HashTable mTable;
};
} // namespace

TEST(HashKey, SamplesAKeyAtAFifthOfItsLength)
{
    const std::pair<std::string, std::uint32_t> samples[] = {
        {"", 0}, {"a", 97}, {"/a", 580}, {"\xFF", 255}, // bytes are unsigned
    };
    for (const auto& sample : samples)
        EXPECT_EQ(HashKey(ToRun(sample.first), kBucketCount), sample.second) << sample.first;
    EXPECT_EQ(HashKey(ToRun("abc"), 1000000), (97u * 32 + 98) * 32 + 99);

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

TEST_F(HashTable, TheLaterOfTwoEqualKeysIsFound)
{
    EXPECT_EQ(Remove("a"), u"none");
    mTable.Insert(Entry("a", u"1"));
    mTable.Insert(Entry("b", u"2"));
    mTable.Insert(Entry("a", u"3"));
    EXPECT_EQ(Remove("a"), u"3");
    EXPECT_EQ(Remove("a"), u"1");
    EXPECT_EQ(Find("a") + Find("b") + Find("A") + Find(""), u"none2nonenone");
}

TEST_F(HashTable, ChainsHoldDifferentKeys)
{
    const std::string stem = "/U/Texts1";
    for (char c : std::string("abcd"))
        mTable.Insert(Entry(Colliding(stem, c), std::u16string(1, static_cast<char16_t>(c))));
    const std::uint32_t bucket = HashKey(ToRun(Colliding(stem, 'a')), kBucketCount);
    EXPECT_EQ(Walk(), u"dcba");
    EXPECT_EQ(Remove(Colliding(stem, 'b')), u"b");
    EXPECT_EQ(Remove(Colliding(stem, 'd')), u"d");
    EXPECT_EQ(Remove(Colliding(stem, 'b')), u"none");
    EXPECT_EQ(Find(Colliding(stem, 'a')) + Walk(), u"aca");
    EXPECT_NE(mTable.Chain(bucket), nullptr);
    EXPECT_EQ(mTable.Chain(bucket + 1), nullptr);
}

TEST_F(HashTable, AWalkVisitsEachItemAndStartsAnew)
{
    EXPECT_FALSE(mTable.Next());
    std::map<std::u16string, int> expected;
    for (int i = 0; i < 3000; ++i)
    {
        const std::string key = "/key/" + std::to_string(i);
        const std::u16string value(key.begin(), key.end());
        mTable.Insert(Entry(key, value));
        expected[value] = 2;
    }
    std::map<std::u16string, int> visits;
    for (int walk = 0; walk < 2; ++walk)
    {
        while (mTable.Next())
            ++visits[Text(mTable.IteratorItem())];
        EXPECT_EQ(mTable.IteratorItem(), nullptr);
    }
    EXPECT_EQ(visits, expected);
}

TEST_F(HashTable, AWalkEndsAtTheRemovalOfItsItem)
{
    mTable.Insert(Entry("a", u"1"));
    mTable.Insert(Entry("b", u"2"));
    ASSERT_TRUE(mTable.Next());
    EXPECT_EQ(Remove("a"), u"1");
    EXPECT_EQ(mTable.IteratorItem(), nullptr);
    EXPECT_FALSE(mTable.Next());
    EXPECT_EQ(Walk(), u"2");
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
