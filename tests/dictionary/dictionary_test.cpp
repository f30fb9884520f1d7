// Dictionaries: look-ups, changes, walks and the default dictionary.

#include <string>

#include <hollin_private/DictionaryImpl.h>

#include "tests/dictionary/Loading.h"

using hollin::Dictionary;
using hollin::kNoId;
using hollin::ZString;

namespace
{
const std::uint32_t* const kUTF8 = &hollin::kEncodingUTF8;

std::u16string Get(const Dictionary& dictionary, const char* key)
{
    return ToText(dictionary.GetString(key, kUTF8));
}
} // namespace

TEST(Dictionary, EmptyDictionaryReturnsDefaultTexts)
{
    const std::pair<const char*, std::u16string> lookups[] = {
        {nullptr, u""}, {"", u""}, {"$$/a=b", u""}, {"$$$$/a=b", u"b"}};
    for (const bool flat : {false, true})
    {
        const Dictionary dictionary(flat);
        for (const auto& [zstring, text] : lookups)
            EXPECT_EQ(Get(dictionary, zstring), text) << (zstring ? zstring : "null");
        const std::uint16_t* units = nullptr;
        std::uint32_t length = 0;
        EXPECT_EQ(dictionary.GetRawString("$$/a", &units, &length), 0);
        EXPECT_FALSE(dictionary.HasString(nullptr));
    }
}

TEST(Dictionary, StoredTextIsNotExpanded)
{
    Dictionary flat(true);
    EXPECT_EQ(Set(flat, "$$$/a=ignored", u"^^1 #{e9}"), 0u);
    EXPECT_EQ(Set(flat, "/empty", u""), 1u);
    EXPECT_EQ(Get(flat, "$$$/a=default"), u"^^1 #{e9}");
    EXPECT_EQ(Get(flat, "$$$/A=default"), u"default");
    EXPECT_EQ(ToText(flat.GetStringById(0)), u"^^1 #{e9}");
    EXPECT_EQ(ToText(flat.GetStringById(2)), u"");

    const std::u16string odd = u"ab";
    EXPECT_EQ(flat.SetString("/odd", reinterpret_cast<const std::uint16_t*>(odd.data()), 3), 2u);
    EXPECT_EQ(Get(flat, "/odd") + TextOf(flat, "/odd"), u"aa") << "in whole units";
    EXPECT_EQ(ToText(Loaded("/a=1").GetStringById(0)), u"") << "a hash store has no identifiers";

    // The new text may be a part of the stored one.
    Set(flat, "/file", u"01234");
    const std::uint16_t* stored = nullptr;
    std::uint32_t length = 0;
    flat.GetRawString("/file", &stored, &length);
    flat.SetString("/file", stored + 1, 8);
    EXPECT_EQ(TextOf(flat, "/file"), u"1234");
}

TEST(Dictionary, OnlyAFlatDictionaryIsChanged)
{
    Dictionary hash;
    EXPECT_EQ(hash.CurrentKey(), "");

    Dictionary flat(true);
    EXPECT_EQ(Set(flat, nullptr, u"1"), kNoId);
    EXPECT_EQ(flat.SetString("/a", nullptr, 2), kNoId);
    EXPECT_EQ(flat.SetString("/a", nullptr, 0), 0u) << "an empty text";
}

TEST(Dictionary, AWalkStartsAnewAtItsEndAndAfterAnAssignment)
{
    Dictionary hash;
    Dictionary flat(true);
    std::uint32_t id = 77;
    EXPECT_FALSE(flat.NextId(&id));
    EXPECT_EQ(id, 77u);
    for (Dictionary* dictionary : {&hash, &flat})
    {
        Load(*dictionary, "/a=1\n/b=2\n");
        for (int walk = 0; walk < 2; ++walk)
        {
            EXPECT_EQ(ToText(dictionary->CurrentText()), u"");
            EXPECT_EQ(dictionary->CurrentKey(nullptr, 0, false), 0u);
            EXPECT_TRUE(dictionary->NextId(&id) && dictionary->NextId(&id));
            EXPECT_FALSE(dictionary->NextId(&id));
        }
    }
    ASSERT_TRUE(flat.NextId(&id) && flat.NextId(&id));
    flat = Dictionary(flat);
    ASSERT_TRUE(flat.NextId(&id));
    EXPECT_EQ(id, 0u);
}

TEST(Dictionary, CurrentKeyIsCopied)
{
    Dictionary flat(true);
    Set(flat, "/key", u"text");
    std::uint32_t id = 0;
    ASSERT_TRUE(flat.NextId(&id));
    for (const std::string copied : {"/key", "/ke", ""})
    {
        char buffer[] = "########";
        const auto size = static_cast<std::uint32_t>(copied.size() + 1);
        EXPECT_EQ(flat.CurrentKey(buffer, size, false), 4u);
        EXPECT_EQ(buffer, copied);
        EXPECT_EQ(buffer[size], '#');
        EXPECT_EQ(CodeThrownBy([&] { flat.CurrentKey(buffer, size, true); }) == 0, size == 5);
    }
    EXPECT_EQ(flat.CurrentKey(nullptr, 0, false), 4u);
    char byte = 0;
    EXPECT_EQ(flat.CurrentKey(&byte, 0, false), 4u);
}

TEST(Dictionary, DefaultDictionaryIsReadNext)
{
    Dictionary& registered = Dictionary::ForDomain(1);
    EXPECT_EQ(&Dictionary::ForDomain(1), &registered);
    EXPECT_NE(&Dictionary::ForDomain(2), &registered);
    registered = Dictionary(true);
    Set(registered, "/a", u"registered a");
    Set(registered, "/b", u"registered b");
    Set(registered, "/c", u"");
    EXPECT_EQ(ToText(ZString::FromDomain(1, "$$$/a=default")), u"registered a");
    EXPECT_EQ(ToText(ZString::FromDomain(2, "$$$/a=default")), u"default");

    Dictionary flat(true);
    Set(flat, "/a", u"own a");
    EXPECT_EQ(Get(flat, "/b=default"), u"default");
    EXPECT_EQ(&Dictionary::SetDefaultDictionary(1), &registered);
    EXPECT_EQ(Get(flat, "/b=default"), u"registered b");
    EXPECT_EQ(Get(flat, "/c=default"), u"");
    EXPECT_EQ(Get(registered, "/d=default"), u"default");
    EXPECT_EQ(ToText(ZString::FromDomain(2, "$$$/a=default")), u"registered a");
    registered = Dictionary(true); // the end of its contents leaves no default
    EXPECT_EQ(Get(flat, "/b=default"), u"default");
}
