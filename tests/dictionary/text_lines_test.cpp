// What tools tell people of a text or an image.

#include <gtest/gtest.h>

#include <hollin/TextLines.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

namespace
{
// One line as "number key=text", or "number field: problem"; "!" follows a key
// that isn't ASCII.
std::string Told(const hollin::TextLine& line)
{
    const std::string number = std::to_string(line.mNumber) + " ";
    if (line.mProblem)
        return number + line.mField + ": " + line.mProblem;
    std::string text = line.mHasEquals ? "=" : "";
    for (const char16_t unit : ToText(line.mText))
        text.push_back(static_cast<char>(unit));
    return number + line.mKey + (line.mKeyIsASCII ? "" : "!") + text;
}

std::vector<std::string> LinesOf(const std::string& text)
{
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    hollin::TextLines lines(bytes.data(), bytes.size());
    std::vector<std::string> told;
    for (hollin::TextLine line; lines.Next(&line);)
        told.push_back(Told(line));
    return told;
}
} // namespace

TEST(TextLines, AreNumberedAsEditorsDo)
{
    const std::vector<std::string> expected = {"1 a=1", "3 b=2", "4 prefix: it isn't \"$$$\"",
                                               "7 c=^"};
    EXPECT_EQ(LinesOf("a=1\n\nb=2\r\n$$d=3\n\r\r\nc=^^"), expected);
    for (const bool bigEndian : {false, true})
        EXPECT_EQ(LinesOf(TextImage(u"a=1\n\nb=2\r\n$$d=3\n\r\r\nc=^^", bigEndian)), expected);
}

TEST(TextLines, TellKeysThatLoseTheirCharacters)
{
    EXPECT_EQ(LinesOf(TextImage(u"$$$key=x\u2028=y\u2029\"k\"=z\u2029k\nk\u0165y=x\nk\u00E9y=x\n"
                                u"\u00FCber \"$$$/a=\u0165\" \u0165\n\u0165x=ex")),
              (std::vector<std::string>{"1 key=x", "2 =y", "3 k", "4 k", "5 key!=x", "6 k\xE9y!=x",
                                        "7 /a=e", "8 ex!=ex"}));
}

TEST(TextLines, GoOnBehindALineThatCannotBeConverted)
{
    const ScRefusedConversion refused;
    EXPECT_EQ(LinesOf("a=1\nb=z\nc=3"),
              (std::vector<std::string>{"1 a=1", "2 text: the system can't convert it", "3 c=3"}));
}

TEST(TextLines, StayAtTheirEnd)
{
    using namespace std::string_literals;
    for (const std::string& text :
         {"a=1\n\0b=2\n"s, TextImage(u"a=1\n\0b=2\n"s), TextImage(u"a=1\n\0b=2\n"s, true), "a=1"s})
    {
        const std::vector<unsigned char> bytes(text.begin(), text.end());
        hollin::TextLines lines(bytes.data(), bytes.size());
        hollin::TextLine line;
        EXPECT_TRUE(lines.Next(&line));
        for (int call = 0; call < 3; ++call)
            EXPECT_FALSE(lines.Next(&line)) << line.mKey;
    }
}

TEST(ImageReport, TellsTheLongestBucketAndALoneComment)
{
    // The first three share a bucket: only every second byte counts.
    const std::vector<TestEntry> entries = {
        {"a.b.c.d.e.", u"1"}, {"a-b-c-d-e-", u"2"}, {"a+b+c+d+e+", u"3", u"note"}, {"other", u"4"}};
    for (const ImageBuilder& image :
         {BuildFlat(entries), BuildEntries(entries), BuildLengthTable(entries)})
    {
        const hollin::ImageReport report = Check(image.Image());
        EXPECT_EQ(report.mBuckets, 2u);
        EXPECT_EQ(report.mLongestBucket, 3u);
        EXPECT_EQ(report.mLoneCommentId, report.mComments ? 2u : 0u);
    }
}
