// The writer of version 2.7 and of the text form.

#include <ostream>
#include <sstream>
#include <streambuf>

#include "tests/dictionary/Loading.h"

using hollin::Dictionary;

namespace
{
const std::vector<ImageEntry> kEntries = {
    {"/a", u"eins", u"one"}, {"/b", u"\x4E8C"}, {"/c", u"", u"three"}, {"/d", u"vier"}};

// Accepts `room` bytes. It can't seek.
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

// The units of a text form in this machine's byte order.
std::u16string UnitsOf(const std::string& image)
{
    std::u16string units(image.size() / 2, u'\0');
    image.copy(reinterpret_cast<char*>(&units[0]), image.size());
    return units;
}
} // namespace

TEST(Writer, WritesTheImageThatWasRead)
{
    std::vector<ImageEntry> entries = kEntries;
    for (const char marker : {'Y', 'N'})
    {
        for (const bool bigEndian : {false, true})
        {
            const ImageBuilder built = BuildFlat(entries, {7, bigEndian, "ja_JP", 0, marker});
            const std::string image = built.Image();
            EXPECT_EQ(Saved(Loaded(image), Dictionary::kBinary, bigEndian), image);
            // The live slots are counted by their keys; without keys, the file's count is used.
            const std::string fewer = built.With(built.Offset("live"), 3, 4);
            EXPECT_EQ(Saved(Loaded(fewer), Dictionary::kBinary, bigEndian),
                      marker == 'Y' ? image : fewer);
        }
        for (ImageEntry& entry : entries)
            entry.key.clear();
    }
}

TEST(Writer, RefusesRunsAboveTheLimit)
{
    Loaded longest(std::string(hollin::kLongestRun, 'k') + "=v\n");
    Loaded again(Saved(longest));
    EXPECT_EQ(TextsOf(again), TextsOf(longest));
    const Loaded tooLong("/a=1\n" + std::string(hollin::kLongestRun + 1, 'k') + "=v\n");
    std::ostringstream stream;
    EXPECT_EQ(CodeThrownBy([&] { tooLong.Serialize(stream, Dictionary::kBinary, nullptr, 1, 0); }),
              hollin::VoErrException::kBadParameter);
    EXPECT_EQ(stream.str(), "");
}

TEST(Writer, ReturnsZeroIfTheStreamFails)
{
    Loaded flat(BuildFlat(kEntries).Image());
    Loaded hash("/a=1");
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
    std::ostringstream earlier;
    flat.Serialize(earlier, false, nullptr);
    EXPECT_EQ(UnitsOf(earlier.str()), text);
    std::ostringstream binary; // values are UTF-16 in any encoding
    const std::size_t written = flat.Serialize(binary, true, &hollin::kEncodingUTF8);
    EXPECT_EQ(written, binary.str().size());
    EXPECT_EQ(binary.str(), Saved(flat));

    const Loaded hash(BuildEntries({{"/a", value}, {"/b", u""}}).Image());
    EXPECT_EQ(UnitsOf(Saved(hash, Dictionary::kText)), text);
    EXPECT_EQ(UnitsOf(Saved(hash, Dictionary::kTextOfHash)), text);
}
