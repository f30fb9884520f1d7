// Images of version 2, undamaged and damaged, and streams that fail.

#include <algorithm>
#include <istream>
#include <sstream>
#include <streambuf>
#include <tuple>

#include "tests/dictionary/Loading.h"

using hollin::Dictionary;

namespace
{
const std::vector<ImageEntry> kChecked = {
    {"/a", u"eins", u"note"}, {"", u""}, {"/bc", u"zwei", u"more"}};

const std::vector<ImageEntry> kDamaged = {
    {"/shared", u"new", u"note"}, {"/added", u"text", u"other"}, {"/last", u"x"}};

// Loads the image over a dictionary, which must not change.
void ExpectRefused(const std::string& image, Way way)
{
    Loaded dictionary(BuildFlat({{"/shared", u"old"}, {"/kept", u"k"}}).Image());
    Load(dictionary, image, way);
    EXPECT_FALSE(dictionary.IsGood());
    EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"/shared", u"old"}, {"/kept", u"k"}}));
    EXPECT_EQ(ToText(dictionary.GetLanguage()), u"en_US");
    EXPECT_EQ(TextById(dictionary, 2), u"(none)");
    Load(dictionary, BuildFlat({{"/next", u"n"}}).Image());
    EXPECT_EQ(TextById(dictionary, 2), u"n"); // no identifier was used
    EXPECT_FALSE(dictionary.IsGood());

    Loaded hash("a=1"); // which remains a hash dictionary
    Load(hash, image, way);
    EXPECT_FALSE(hash.IsGood());
    EXPECT_EQ(TextOf(hash, "a"), u"1");
}

// A source that reads byte by byte, can't seek, and fails or ends at its end.
class PipeBuffer : public std::streambuf
{
public:
    PipeBuffer(const std::string& bytes, bool fails) : mBytes(bytes), mFails(fails) {}

protected:
    int_type underflow() override
    {
        if (mNext < mBytes.size())
        {
            setg(&mBytes[mNext], &mBytes[mNext], &mBytes[mNext] + 1);
            return traits_type::to_int_type(mBytes[mNext++]);
        }
        if (mFails)
            throw std::runtime_error("the device is gone");
        return traits_type::eof();
    }

private:
    std::string mBytes;
    std::size_t mNext = 0;
    const bool mFails;
};
} // namespace

TEST(UnknownVersion, ChangesNothingButTheFlag)
{
    for (const unsigned int version : {0x0280u, 0x0300u, 0x0101u, 0x0000u})
    {
        SCOPED_TRACE(version);
        std::string image = BuildFlat({{"/a", u"new"}}).Image();
        image[21] = static_cast<char>(version >> 8);
        image[22] = static_cast<char>(version);
        Loaded dictionary(BuildFlat({{"/a", u"old"}}).Image());
        Load(dictionary, image);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, "/a"), u"old");
        EXPECT_EQ(Check(image).mField, "version");
    }
}

TEST(AnyImage, HasItsEntriesWithEachMinorVersionAndMarker)
{
    for (const auto& [minor, isBig] :
         {std::pair<std::uint8_t, bool>(0, false), {1, false}, {127, true}})
    {
        SCOPED_TRACE(int(minor));
        Loaded image(BuildFlat(kChecked, {minor, isBig, "el_GR", 0, 'n'}).Image());
        EXPECT_EQ(TextsOf(image), (KeyedTexts{{"/a", u"eins"}, {"/bc", u"zwei"}}));
    }
}

TEST(ImageCheck, CountsLiveEntries)
{
    const ImageBuilder keyed = BuildFlat(kChecked);
    const ImageBuilder keyless = BuildFlat(kChecked, kKeyless);
    for (const std::uint32_t stored : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(stored);
        const std::string images[] = {keyed.With(keyed.Offset("live"), stored, 4),
                                      keyless.With(keyless.Offset("live"), stored, 4)};
        for (const std::string& image : images)
            EXPECT_FALSE(Check(image).mDamaged) << Check(image).mSentence;
        EXPECT_EQ(Check(images[0]).mLive, 2u);
        EXPECT_EQ(TextOf(Loaded(images[0]), "/bc"), u"zwei");
        EXPECT_EQ(Check(images[1]).mLive, std::min(stored, 3u)); // the only source of the count
        EXPECT_EQ(TextById(Loaded(images[1]), 2), stored ? u"zwei" : u"(none)");
    }
    // The writer counts an entry with an empty key. In the file it is a removed slot.
    hollin::Dictionary flat(true);
    Load(flat, "=1\na=2\n");
    for (const std::string& image : {Saved(Loaded("=1\na=2\n")), Saved(flat)})
    {
        const hollin::ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mLive, 1u);
        EXPECT_EQ(image[43], 2); // the count in the file
    }
}

TEST(ImageCheck, NamesTheCodingOfAText)
{
    const hollin::ImageReport reports[] = {Check("a=1\n\nb=2\n"), Check(TextBytes(u"a=1\n\nb=2\n")),
                                           Check(TextBytes(u"a=1\n\nb=2\n", true))};
    EXPECT_EQ(reports[0].mCoding, hollin::ImageReport::kActiveCodePage);
    EXPECT_NE(reports[1].mCoding, reports[2].mCoding);
    for (const hollin::ImageReport& report : reports)
    {
        EXPECT_EQ(report.mForm, hollin::ImageReport::kText);
        EXPECT_FALSE(report.mDamaged);
        EXPECT_EQ(report.mLive, 2u);
    }
}

TEST(Damage, EveryTruncationIsRefusedAndItsFieldNamed)
{
    for (const char marker : {'Y', 'N'})
    {
        for (const bool bigEndian : {false, true})
        {
            const ImageBuilder whole = BuildFlat(kDamaged, {7, bigEndian, "xx_XX", 0, marker});
            for (std::size_t size = 21; size < whole.Image().size(); ++size)
            {
                SCOPED_TRACE(testing::Message() << marker << " cut at " << size);
                const std::string image = whole.Image().substr(0, size);
                ExpectRefused(image, kWays[size % 2]);
                const hollin::ImageReport report = Check(image);
                EXPECT_EQ(report.mField, size < 25 ? "header" : whole.FieldAt(size));
                EXPECT_LE(report.mOffset, size);
            }
        }
    }
}

TEST(Damage, EachFieldIsCheckedAndNamed)
{
    const char kShort[] = "the image ends too early";
    const char kBeyond[] = "one lies beyond its pool";
    const char kReaches[] = "one reaches beyond its pool";
    const char kSplit[] = "one splits a unit";
    const char kNotBelow[] = "one isn't below the count";
    // A field, the number and the size of its item, the new value, the reported damage.
    const std::tuple<const char*, std::size_t, std::size_t, std::uint64_t, const char*, const char*>
        patches[] = {
            {"locale length", 0, 4, 0xFFFFFFFF, "locale name", kShort},
            {"count", 0, 4, 0x40000000, "key offsets", kShort}, // times 4 is 2^32
            {"byte-order byte", 0, 1, 2, "byte-order byte", "it is neither 0 nor 1"},
            {"buckets", 0, 4, 0xFFFFFFFF, "bucket numbers", kShort},
            {"key pool size", 0, 4, 0xFFFFFFFF, "key pool", kShort},
            {"key pool size", 0, 4, 17, "key lengths", kReaches},
            {"value pool size", 0, 4, 0xFFFFFFFE, "value pool", kShort},
            {"value pool size", 0, 4, 15, "value pool size", "it isn't a whole number of units"},
            {"key offsets", 1, 4, 19, "key offsets", kBeyond},
            {"key offsets", 1, 4, 14, "key lengths", kReaches},
            {"key lengths", 2, 2, 6, "key lengths", kReaches},
            {"value offsets", 0, 4, 1, "value offsets", kSplit},
            {"value offsets", 2, 4, 18, "value offsets", kBeyond},
            {"value lengths", 1, 2, 7, "value lengths", kSplit},
            {"value lengths", 2, 2, 4, "value lengths", kReaches},
            {"bucket numbers", 2, 2, 1021, "bucket numbers", "one is above 1020"},
            {"bucket numbers", 0, 2, 1020, "bucket numbers", "they don't ascend"},
            {"bucket sizes", 0, 4, 0xFFFFFFFF, "bucket identifiers", kShort},
            {"bucket identifiers", 1, 4, 3, "bucket identifiers", kNotBelow},
            {"comment count", 0, 4, 0xFFFFFFFF, "comment identifiers", kShort},
            {"comment pool size", 0, 4, 0xFFFFFFFE, "comment pool", kShort},
            {"comment pool size", 0, 4, 17, "comment pool size",
             "it isn't a whole number of units"},
            {"comment pool size", 0, 4, 16, "comment lengths", kReaches},
            {"comment identifiers", 1, 4, 3, "comment identifiers", kNotBelow},
            {"comment identifiers", 1, 4, 0, "comment identifiers", "they don't ascend"},
            {"comment offsets", 1, 4, 20, "comment offsets", kBeyond},
            {"comment offsets", 0, 4, 3, "comment offsets", kSplit},
            {"comment lengths", 0, 2, 20, "comment lengths", kReaches},
            {"comment lengths", 1, 2, 9, "comment lengths", kSplit},
        };
    for (const bool bigEndian : {false, true})
    {
        const ImageBuilder whole = BuildFlat(kDamaged, {7, bigEndian, "xx_XX", 0, 'Y'});
        for (const auto& [field, item, width, value, named, problem] : patches)
        {
            SCOPED_TRACE(testing::Message() << field << "[" << item << "] = " << value);
            const std::size_t at = whole.Offset(field) + item * width;
            const std::string image = whole.With(at, value, width);
            for (const Way way : kWays)
                ExpectRefused(image, way);
            const hollin::ImageReport report = Check(image);
            EXPECT_TRUE(report.mDamaged);
            EXPECT_EQ(report.mField, named);
            EXPECT_EQ(report.mSentence, "Byte " + std::to_string(report.mOffset) + ", " + named +
                                            ": " + problem + ".");
        }
    }
}

TEST(Damage, EmptyAndMissingImagesAreRefused)
{
    const unsigned char byte = 'a';
    for (const std::int32_t size : {0, -1, 100})
    {
        Dictionary dictionary;
        dictionary.LoadFromMemory(size > 0 ? nullptr : &byte, size, true);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_FALSE(dictionary.HasString("a"));
    }
    EXPECT_EQ(hollin::CheckImage(nullptr, 0).mField, "image");
    ExpectRefused("", Way::kStream);
}

TEST(DamagedStream, FailedStreamLoadsNothingAndNoStreamSeeks)
{
    const std::string image = BuildFlat(kDamaged).Image();
    const std::u16string longLine(40000, u'x'); // which a stream reads in parts
    for (const auto mask : {std::ios_base::goodbit, std::ios_base::badbit,
                            std::ios_base::badbit | std::ios_base::failbit})
    {
        for (const std::string& bytes : {image, image.substr(0, 40), BuildEntries(kDamaged).Image(),
                                         TextBytes(u"/added=text\n" + longLine)})
        {
            for (const bool fails : {true, false})
            {
                PipeBuffer buffer(bytes, fails);
                std::istream stream(&buffer);
                stream.exceptions(mask);
                Dictionary dictionary;
                dictionary.LoadFromStream(stream);
                const bool isLoaded = !fails && bytes.size() != 40;
                EXPECT_EQ(dictionary.IsGood(), isLoaded);
                EXPECT_EQ(TextOf(dictionary, "/added"), isLoaded ? u"text" : u"(none)");
                EXPECT_EQ(stream.exceptions(), mask);
            }
        }
    }
    std::istringstream failed(image);
    failed.setstate(std::ios_base::failbit);
    Dictionary dictionary;
    dictionary.LoadFromStream(failed);
    EXPECT_FALSE(dictionary.IsGood());
}

TEST(DamagedStream, StreamThatThrowsAtItsEndIsLoaded)
{
    std::istringstream stream("before: " + BuildFlat(kDamaged).Image());
    stream.seekg(8);
    stream.exceptions(std::ios_base::eofbit | std::ios_base::failbit | std::ios_base::badbit);
    Dictionary dictionary;
    dictionary.LoadFromStream(stream);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextOf(dictionary, "/added"), u"text");
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}
