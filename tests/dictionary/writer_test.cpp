// Writing dictionaries: version 2.7, and the text form.

#include <ostream>
#include <sstream>
#include <streambuf>

#include <gtest/gtest.h>

#include <hollin/VoErrException.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::Dictionary;

namespace
{
const std::vector<TestEntry> kEntries = {
    {"/a", u"eins", u"one"}, {"/b", u"\x4E8C", u""}, {"/c", u"", u"three"}, {"/d", u"vier", u""}};

std::uint32_t Set(Dictionary& dictionary, const char* key, const std::u16string& text,
                  const std::u16string& comment = u"")
{
    const auto units = [](const std::u16string& from) {
        return std::vector<std::uint16_t>(from.begin(), from.end());
    };
    return dictionary.SetString(key, units(text).data(), std::uint32_t(2 * text.size()),
                                comment.empty() ? nullptr : units(comment).data(),
                                std::uint32_t(2 * comment.size()));
}

Dictionary Flat(const std::vector<TestEntry>& entries)
{
    Dictionary dictionary;
    Load(dictionary, BuildFlat(entries).Image());
    return dictionary;
}

// Takes so many bytes and refuses the rest; it can't seek.
class FullBuffer : public std::streambuf
{
public:
    explicit FullBuffer(std::size_t room) : mRoom(room) {}
    std::string mTaken;

protected:
    int_type overflow(int_type byte) override
    {
        if (mTaken.size() == mRoom)
            return traits_type::eof();
        mTaken.push_back(traits_type::to_char_type(byte));
        return byte;
    }

private:
    const std::size_t mRoom;
};

// A text form as units, of this machine.
std::u16string UnitsOf(const std::string& image)
{
    std::u16string units(image.size() / 2, u'\0');
    image.copy(reinterpret_cast<char*>(&units[0]), image.size());
    return units;
}
} // namespace

TEST(Writer, GivesBackTheImageThatWasRead)
{
    for (const char marker : {'Y', 'N'})
    {
        for (const bool bigEndian : {false, true})
        {
            FlatOptions options;
            options.marker = marker;
            options.bigEndian = bigEndian;
            options.locale = "ja_JP";
            const std::string image = BuildFlat(kEntries, options).Image();
            Dictionary dictionary;
            Load(dictionary, image);
            EXPECT_EQ(Saved(dictionary, Dictionary::kBinary, bigEndian), image);
        }
    }
}

TEST(Writer, LeavesKeysOutOnRequest)
{
    Dictionary dictionary = Flat(kEntries);
    dictionary.RemoveString("/b");
    const std::string image = Saved(dictionary, Dictionary::kBinaryWithoutKeys);
    const hollin::ImageReport report = Check(image);
    EXPECT_FALSE(report.mDamaged) << report.mSentence;
    EXPECT_FALSE(report.mKeyed);
    EXPECT_EQ(report.mSlots, 4u);
    EXPECT_EQ(report.mLive, 4u);
    Dictionary again;
    Load(again, image);
    EXPECT_EQ(TextById(again, 0), u"eins");
    EXPECT_EQ(TextById(again, 1), u"");
    EXPECT_EQ(TextById(again, 3), u"vier");
    EXPECT_FALSE(again.HasString("/a"));

    EXPECT_EQ(TextOf(dictionary, "/a"), u"eins"); // which keeps its own
    EXPECT_TRUE(Check(Saved(dictionary)).mKeyed);
}

TEST(Writer, JoinsAllBlocksIntoOne)
{
    Dictionary dictionary = Flat(kEntries);
    Load(dictionary, BuildFlat({{"/a", u"uno", u""}, {"/e", u"fuenf", u"five"}}).Image());
    for (int i = 0; i < 250; ++i)
        Set(dictionary, ("/added/" + std::to_string(i)).c_str(), u"text", u"comment");
    Set(dictionary, "/d", u"a longer text");
    Set(dictionary, "/d", u"shorter");
    dictionary.RemoveString("/added/7");
    dictionary.RemoveString("/b");

    for (const bool bigEndian : {false, true})
    {
        const std::string image = Saved(dictionary, Dictionary::kBinary, bigEndian, 0);
        const hollin::ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mSlots, 256u);
        EXPECT_EQ(report.mLive, 253u); // not the two removed, nor the replaced slot
        EXPECT_EQ(report.mAstray, 0u);
        Dictionary again;
        Load(again, image);
        EXPECT_TRUE(again.IsGood());
        EXPECT_EQ(TextsOf(again), TextsOf(dictionary));
        EXPECT_EQ(TextOf(again, "/a"), u"uno");
        EXPECT_EQ(TextOf(again, "/d"), u"shorter");
        EXPECT_FALSE(again.HasString("/b"));
        EXPECT_EQ(CommentOf(again, "/e"), u"five");
        EXPECT_EQ(CommentOf(again, "/added/249"), u"comment");
        EXPECT_EQ(CommentOf(again, "/d"), u"");
        for (std::uint32_t id = 0; id < 256; ++id)
            EXPECT_EQ(TextById(again, id), TextById(dictionary, id));
    }
}

TEST(Writer, WritesSlotsWithoutKeysAsRemovedAmongThoseWithKeys)
{
    FlatOptions keyless;
    keyless.marker = 'N';
    Dictionary dictionary = Flat({{"/a", u"1", u""}});
    Load(dictionary, BuildFlat({{"", u"by number", u""}}, keyless).Image());
    Set(dictionary, "/b", u"2");
    ASSERT_EQ(TextById(dictionary, 1), u"by number");

    Dictionary keyed;
    Load(keyed, Saved(dictionary));
    EXPECT_TRUE(keyed.IsGood());
    EXPECT_EQ(TextById(keyed, 1), u"(none)");
    EXPECT_EQ(TextById(keyed, 2), u"2");
    Dictionary numbered;
    Load(numbered, Saved(dictionary, Dictionary::kBinaryWithoutKeys));
    EXPECT_TRUE(numbered.IsGood());
    EXPECT_EQ(TextById(numbered, 1), u"by number");
    EXPECT_EQ(TextById(numbered, 2), u"2");
}

TEST(Writer, EmptyDictionariesMakeValidFiles)
{
    Dictionary hash;
    Dictionary flat(true);
    for (Dictionary* dictionary : {&hash, &flat})
    {
        const std::string image = Saved(*dictionary);
        const hollin::ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mSlots, 0u);
        EXPECT_EQ(report.mLocale, "en_US");
        Dictionary again;
        Load(again, image);
        EXPECT_TRUE(again.IsGood());
    }
}

TEST(Writer, WritesAHashStoreWithItsKeysInTheOrderOfItsChains)
{
    const std::string one = "a0bbbbbbbb"; // of one bucket with the other
    const std::string two = "a1bbbbbbbb";
    Dictionary dictionary;
    Load(dictionary, one + "=1\n" + two + "=2\n/c=\n");
    const std::vector<std::string> keys = KeysOf(dictionary);
    for (const auto mode : {Dictionary::kBinary, Dictionary::kBinaryWithoutKeys})
    {
        std::vector<TestEntry> entries;
        entries.reserve(keys.size());
        for (const std::string& key : keys)
            entries.push_back({key, TextOf(dictionary, key), u""});
        EXPECT_EQ(Saved(dictionary, mode, true, 17),
                  BuildFlat(entries, {7, true, "en_US", 0, 'Y'}).Image());
    }
}

TEST(Writer, StoresTheBaseOfAContinuation)
{
    Dictionary first = Flat(kEntries);
    Dictionary second = Flat({{"/next", u"n", u""}});
    Load(first, Saved(second, Dictionary::kBinary, true, 4));
    EXPECT_TRUE(first.IsGood());
    EXPECT_EQ(TextById(first, 4), u"n");
    Load(first, Saved(second, Dictionary::kBinary, true, 4));
    EXPECT_FALSE(first.IsGood());
}

TEST(Writer, RefusesRunsThatAreTooLongForAFile)
{
    for (const std::size_t length : {65535u, 65536u})
    {
        Dictionary dictionary;
        Load(dictionary, "/a=1\n" + std::string(length, 'k') + "=v\n");
        std::ostringstream stream;
        if (length <= hollin::kLongestRun)
        {
            Dictionary again;
            Load(again, Saved(dictionary));
            EXPECT_EQ(TextsOf(again), TextsOf(dictionary));
            continue;
        }
        try
        {
            dictionary.Serialize(stream, Dictionary::kBinary, nullptr, 1, 0);
            ADD_FAILURE() << "it was written";
        }
        catch (const hollin::VoErrException& failure)
        {
            EXPECT_EQ(failure.mCode, hollin::VoErrException::kBadParameter);
        }
        EXPECT_EQ(stream.str(), "");
    }
}

TEST(Writer, TellsOfAStreamThatFails)
{
    Dictionary flat = Flat(kEntries);
    Dictionary hash;
    Load(hash, "/a=1");
    for (const auto mode : {Dictionary::kBinary, Dictionary::kText})
    {
        for (Dictionary* dictionary : {&flat, &hash})
        {
            FullBuffer full(10);
            std::ostream stream(&full);
            EXPECT_EQ(dictionary->Serialize(stream, mode, nullptr, 1, 0), 0u);
            FullBuffer ample(10000);
            std::ostream pipe(&ample);
            const std::size_t written = dictionary->Serialize(pipe, mode, nullptr, 1, 0);
            EXPECT_EQ(written, ample.mTaken.size());
            EXPECT_EQ(ample.mTaken, Saved(*dictionary, mode));
        }
    }

    FullBuffer full(30);
    std::ostream throwing(&full);
    throwing.exceptions(std::ios_base::badbit);
    testing::internal::CaptureStderr();
    EXPECT_EQ(flat.Serialize(throwing, Dictionary::kBinary, nullptr, 1, 0), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Serialize2: Caught exception\n");
}

TEST(TextWriter, EscapesLineEndsAndQuotesAndNothingElse)
{
    const std::u16string text =
        u"\xFEFF\"/a=say \\\"so\\\"\\n\\r^1 #{mdash}\\\x2014\"\r\n\"/b=\"\r\n";
    const std::u16string value = u"say \"so\"\n\r^1 #{mdash}\\\x2014";
    Dictionary flat(true);
    Set(flat, "/removed", u"gone");
    Set(flat, "/a", value);
    Set(flat, "/b", u"");
    flat.RemoveString("/removed");
    EXPECT_EQ(UnitsOf(Saved(flat, Dictionary::kText)), text);
    EXPECT_EQ(UnitsOf(Saved(flat, Dictionary::kTextOfHash)), u"\xFEFF");

    Dictionary hash;
    Load(hash, BuildEntries({{"/a", value, u""}, {"/b", u"", u""}}).Image());
    EXPECT_EQ(UnitsOf(Saved(hash, Dictionary::kText)), text);
    EXPECT_EQ(UnitsOf(Saved(hash, Dictionary::kTextOfHash)), text);
}

TEST(TextWriter, EarlierFormWritesTheSameInThisMachinesOrder)
{
    Dictionary dictionary = Flat(kEntries);
    std::ostringstream text;
    std::ostringstream binary;
    const std::uint32_t utf8 = hollin::kEncodingUTF8;
    const std::size_t textSize = dictionary.Serialize(text, false, nullptr);
    const std::size_t binarySize = dictionary.Serialize(binary, true, &utf8);
    EXPECT_EQ(textSize, text.str().size());
    EXPECT_EQ(binarySize, binary.str().size());
    EXPECT_EQ(text.str(), Saved(dictionary, Dictionary::kText));
    EXPECT_EQ(binary.str(), Saved(dictionary)); // values are UTF-16 in any encoding

    Dictionary again;
    Load(again, text.str(), Way::kStream);
    EXPECT_TRUE(again.IsGood());
    EXPECT_EQ(TextsOf(again), TextsOf(dictionary));
}
