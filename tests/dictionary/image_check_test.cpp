// What the check tells of images that are sound, and of lines.

#include <gtest/gtest.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::ImageReport;

namespace
{
const std::vector<TestEntry> kEntries = {
    {"/a", u"eins", u"note"}, {"", u"", u""}, {"/bc", u"zwei", u"more"}};
} // namespace

TEST(ImageCheck, TellsWhatAFlatImageHolds)
{
    FlatOptions options;
    options.minor = 3;
    options.bigEndian = true;
    options.locale = "de_DE";
    options.base = 12;
    const ImageReport report = Check(BuildFlat(kEntries, options).Image());
    EXPECT_FALSE(report.mDamaged) << report.mSentence;
    EXPECT_EQ(report.mForm, ImageReport::kBinary);
    EXPECT_EQ(report.mMajor, 2);
    EXPECT_EQ(report.mMinor, 3);
    EXPECT_TRUE(report.mBigEndian);
    EXPECT_TRUE(report.mKeyed);
    EXPECT_EQ(report.mBase, 12u);
    EXPECT_EQ(report.mLocale, "de_DE");
    EXPECT_EQ(report.mSlots, 3u);
    EXPECT_EQ(report.mLive, 2u);
    EXPECT_EQ(report.mBuckets, 2u);
    EXPECT_EQ(report.mComments, 2u);
    EXPECT_EQ(report.mKeyBytes, 5u);
    EXPECT_EQ(report.mValueBytes, 16u);
    EXPECT_EQ(report.mCommentBytes, 16u);
}

TEST(ImageCheck, TellsWhatAnOldImageHolds)
{
    const std::vector<TestEntry> entries = {{"/a", u"eins", u""}, {"/bc", u"zwei", u""}};
    for (const ImageBuilder& image : {BuildEntries(entries, 1), BuildLengthTable(entries, 1)})
    {
        const ImageReport report = Check(image.Image());
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mMajor, 1);
        EXPECT_EQ(report.mTextFlag, 1);
        EXPECT_EQ(report.mSlots, 2u);
        EXPECT_EQ(report.mLive, 2u);
        EXPECT_EQ(report.mBuckets, 2u);
        EXPECT_EQ(report.mKeyBytes, 5u);
        EXPECT_EQ(report.mValueBytes, 8u);
    }
}

TEST(ImageCheck, CountsWhatIsLive)
{
    FlatOptions keyless;
    keyless.marker = 'N';
    const ImageBuilder images[] = {BuildFlat(kEntries), BuildFlat(kEntries, keyless)};
    EXPECT_EQ(Check(images[0].With(images[0].Offset("live"), 3, 4)).mLive, 2u);
    for (const std::uint32_t told : {0u, 1u, 3u})
    {
        const ImageReport report = Check(images[1].With(images[1].Offset("live"), told, 4));
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mLive, 3u);
    }
    // An empty key is an entry to whoever writes it, and a removed slot in the file.
    hollin::Dictionary dictionary;
    Load(dictionary, "=1\na=2\n");
    const ImageReport report = Check(Saved(dictionary));
    EXPECT_FALSE(report.mDamaged) << report.mSentence;
    EXPECT_EQ(report.mLive, 1u);
}

TEST(ImageCheck, CountsBytesBehindTheEnd)
{
    const std::string image = BuildFlat(kEntries).Image();
    EXPECT_EQ(Check(image).mTrailing, 0u);
    EXPECT_EQ(Check(image + "twelve bytes").mTrailing, 12u);
    EXPECT_FALSE(Check(image + "x").mDamaged);
}

TEST(ImageCheck, CountsKeysThatNoLookUpFinds)
{
    const ImageBuilder flat = BuildFlat(kEntries);
    ASSERT_LT(BucketOf("/bc"), BucketOf("/a"));
    const std::string misplaced = flat.With(flat.Offset("bucket numbers") + 2, 1020, 2);
    const std::string unlisted = flat.With(flat.Offset("bucket sizes") + 4, 0, 4);
    const ImageBuilder old = BuildEntries(kEntries);
    for (const std::string& image :
         {misplaced, unlisted, old.With(old.Offset("records") + 6, 1020, 2)})
    {
        const ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mAstray, 1u);
        hollin::Dictionary dictionary;
        Load(dictionary, image);
        EXPECT_TRUE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, "/a"), u"(none)");
        EXPECT_EQ(TextOf(dictionary, "/bc"), u"zwei");
    }
}

TEST(ImageCheck, CountsLinesAsEditorsDo)
{
    struct Row
    {
        std::u16string text;
        std::uint64_t line;
    };
    const Row rows[] = {
        {u"$=x", 1},         {u"a=1\n$=x", 2},    {u"a=1\r\n\r\nb=2\r\n$=x\r\n", 4},
        {u"\n\n\r\r$=x", 5}, {u"\r\n\n\r$=x", 4},
    };
    for (const Row& row : rows)
    {
        const std::string bytes(row.text.begin(), row.text.end());
        const ImageReport reports[] = {Check(bytes), Check(TextImage(row.text)),
                                       Check(TextImage(row.text, true))};
        EXPECT_EQ(reports[0].mCoding, ImageReport::kActiveCodePage);
        EXPECT_NE(reports[1].mCoding, reports[2].mCoding);
        for (const ImageReport& report : reports)
        {
            EXPECT_EQ(report.mForm, ImageReport::kText);
            EXPECT_EQ(report.mField, "prefix");
            EXPECT_EQ(report.mLine, row.line);
        }
    }
    EXPECT_EQ(Check(TextImage(u"a=1\x2028\x2029$=x")).mLine, 3u);
    EXPECT_FALSE(Check("a=1\nb=2\n").mDamaged);
    EXPECT_EQ(Check("a=1\n\nb=2\n").mLive, 2u);
}
