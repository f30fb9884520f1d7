// What the check tells of images that are sound, and of lines.

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::ImageReport;

namespace
{
const std::vector<TestEntry> kEntries = {
    {"/a", u"eins", u"note"}, {"", u""}, {"/bc", u"zwei", u"more"}};
} // namespace

TEST(ImageCheck, TellsWhatAFlatImageHolds)
{
    const ImageReport report = Check(BuildFlat(kEntries, {3, true, "de_DE", 12, 'Y'}).Image());
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
    const std::vector<TestEntry> entries = {{"/a", u"eins"}, {"/bc", u"zwei"}};
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
    const ImageBuilder keyed = BuildFlat(kEntries);
    const ImageBuilder keyless = BuildFlat(kEntries, kKeyless);
    for (const std::uint32_t told : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(told);
        const std::string images[] = {keyed.With(keyed.Offset("live"), told, 4),
                                      keyless.With(keyless.Offset("live"), told, 4)};
        for (const std::string& image : images)
            EXPECT_FALSE(Check(image).mDamaged) << Check(image).mSentence;
        EXPECT_EQ(Check(images[0]).mLive, 2u);
        EXPECT_EQ(TextOf(Loaded(images[0]), "/bc"), u"zwei");
        EXPECT_EQ(Check(images[1]).mLive, std::min(told, 3u)); // nothing else tells
        EXPECT_EQ(TextById(Loaded(images[1]), 2), told ? u"zwei" : u"(none)");
    }
    // An empty key is an entry to whoever writes it, and a removed slot in the file.
    hollin::Dictionary flat(true);
    Load(flat, "=1\na=2\n");
    for (const std::string& image : {Saved(Loaded("=1\na=2\n")), Saved(flat)})
    {
        const ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mLive, 1u);
        EXPECT_EQ(image[43], 2); // told
    }
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
        const Loaded dictionary(image);
        EXPECT_EQ(TextOf(dictionary, "/a"), u"(none)");
        EXPECT_EQ(TextOf(dictionary, "/bc"), u"zwei");
    }
}

TEST(ImageCheck, CountsLinesAsEditorsDo)
{
    const std::pair<std::u16string, std::uint64_t> rows[] = {
        {u"$=x", 1},         {u"a=1\n$=x", 2},    {u"a=1\r\n\r\nb=2\r\n$=x\r\n", 4},
        {u"\n\n\r\r$=x", 5}, {u"\r\n\n\r$=x", 4},
    };
    for (const auto& [text, line] : rows)
    {
        const ImageReport reports[] = {Check(std::string(text.begin(), text.end())),
                                       Check(TextImage(text)), Check(TextImage(text, true))};
        EXPECT_EQ(reports[0].mCoding, ImageReport::kActiveCodePage);
        EXPECT_NE(reports[1].mCoding, reports[2].mCoding);
        for (const ImageReport& report : reports)
        {
            EXPECT_EQ(report.mForm, ImageReport::kText);
            EXPECT_EQ(report.mField, "prefix");
            EXPECT_EQ(report.mLine, line);
        }
    }
    EXPECT_EQ(Check(TextImage(u"a=1\x2028\x2029$=x")).mLine, 3u);
    EXPECT_FALSE(Check("a=1\nb=2\n").mDamaged);
    EXPECT_EQ(Check("a=1\n\nb=2\n").mLive, 2u);
}
