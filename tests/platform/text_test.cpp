#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <control.h>
#include <win32/text.h>

namespace
{
const unsigned int kTabledPages[] = {932,  936,  949,  950,  1250, 1251,  1252,  1253,
                                     1254, 1255, 1256, 1257, 1258, 10000, 10001, 10007};

const unsigned short* Units(const std::u16string& text)
{
    return reinterpret_cast<const unsigned short*>(text.data());
}

unsigned short* Units(std::u16string& text)
{
    return reinterpret_cast<unsigned short*>(&text[0]);
}

// The text, whose count must come out the same with the room that it needs and
// with none at all.
std::u16string Decode(unsigned int codePage, const std::string& bytes)
{
    const int size = static_cast<int>(bytes.size());
    std::u16string units(bytes.size(), u'#');
    const int count = win32::MultiByteToWideChar(codePage, 0, bytes.data(), size, Units(units),
                                                 static_cast<int>(units.size()));
    EXPECT_EQ(win32::MultiByteToWideChar(codePage, 0, bytes.data(), size, nullptr, 0), count);
    units.resize(static_cast<std::size_t>(count));
    return units;
}

std::string Encode(unsigned int codePage, const std::u16string& units, int* usedDefault = nullptr)
{
    const int size = static_cast<int>(units.size());
    std::string bytes(units.size() * 3, '#');
    const int count =
        win32::WideCharToMultiByte(codePage, 0, Units(units), size, &bytes[0],
                                   static_cast<int>(bytes.size()), nullptr, usedDefault);
    EXPECT_EQ(
        win32::WideCharToMultiByte(codePage, 0, Units(units), size, nullptr, 0, nullptr, nullptr),
        count);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// A text in a code page and in UTF-16.
typedef std::tuple<unsigned int, std::string, std::u16string> PageRow;

TEST(CodePages, CharactersGoBothWays)
{
    const PageRow kRows[] = {
        {932, "a\\~\x1A\x1C\x7F", u"a\\~\x1A\x1C\x7F"},
        {932, "\x82\xA0\x93\xFA\x95\\\xB1", u"\u3042\u65E5\u8868\uFF71"},
        {932, "\x81\x60\x81\x7C\x87\x40\xF0\x40", u"\uFF5E\uFF0D\u2460\uE000"},
        {932, "\x80\xA0\xFD\xFE\xFF", u"\u0080\u00A0\uF8F1\uF8F2\uF8F3"},
        {936, "\x80\xC4\xE3\x81\x40\xFF", u"\u20AC\u4F60\u4E02\uF8F5"},
        {949, "\xB0\xA2\x81\x41", u"\uAC01\uAC02"},
        {950, "\xA7\x41\xB3\x5C\xFA\x40", u"\u4F60\u8A31\uE000"},
        {1250, "\xA3\xB3\x80", u"\u0141\u0142\u20AC"},
        {1251, "\xCF\xF0\x98", u"\u041F\u0440\u0098"},
        {1252, "\x80\x99\xE9\x81\x8D\x9D", u"\u20AC\u2122\u00E9\u0081\u008D\u009D"},
        {1253, "\xE1\xD2\xFF", u"\u03B1\uF8FA\uF8FB"},
        {1254, "\xD0\xFE", u"\u011E\u015F"},
        {1255, "\xF9\xCA\xD9", u"\u05E9\u05BA\uF88D"},
        {1256, "\xC7\x9D", u"\u0627\u200C"},
        {1257, "\xE0\xA1\xA5", u"\u0105\uF8FC\uF8FD"},
        {1258, "\xD0\xFE\xEC", u"\u0110\u20AB\u0301"},
        {10000, "\x8E\xC6\xF0\xDB", u"\u00E9\u2206\uF8FF\u20AC"},
        {10001, "\\\x80\x82\xA0\xA0\xFD\xFE\xFF", u"\u00A5\\\u3042\u00A0\u00A9\u2122\u2026"},
        {10001, "\x81\x60\x81\x7C\x81\x91", u"\u301C\u2212\u00A2"},
        {10007, "\x80\xDF\xFF", u"\u0410\u044F\u20AC"},
        {65001, "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"a\u0080\u07FF\u0800\uFFFF"},
        {65001, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
    };
    for (const auto& [codePage, bytes, units] : kRows)
    {
        EXPECT_EQ(Decode(codePage, bytes), units) << codePage;
        EXPECT_EQ(Encode(codePage, units), bytes) << codePage;
    }
}

TEST(CodePages, BytesThatAreNoCharacterGiveTheDefault)
{
    const PageRow kRows[] = {
        {932, "\x81\x30z", u"\u30FBz"},
        {932, "\x85\x40\x81", u"\u30FB\u30FB"},
        {932, std::string("\x81\0a", 3), std::u16string(u"\u30FB\0a", 3)},
        {10001, "\x87\x40z", u"\u30FBz"},
        {936, "\x81\x20\xFE\x39z\x81", u"??z?"},
        {949, "\xFE\x30z", u"?z"},
        {950, "\x81\x20z", u"?z"},
    };
    for (const auto& [codePage, bytes, units] : kRows)
        EXPECT_EQ(Decode(codePage, bytes), units) << codePage;
}

TEST(CodePages, EverySingleByteComesBack)
{
    for (const unsigned int codePage : kTabledPages)
    {
        SCOPED_TRACE(codePage);
        std::string bytes;
        for (int byte = 0; byte < 0x100; ++byte)
        {
            if (!win32::IsDBCSLeadByteEx(codePage, static_cast<unsigned char>(byte)))
                bytes += static_cast<char>(byte);
        }
        int usedDefault = -1;
        EXPECT_EQ(Encode(codePage, Decode(codePage, bytes), &usedDefault), bytes);
        EXPECT_EQ(usedDefault, 0);
    }
}

// A fit must be a character of the page itself, in the page's own bytes.
TEST(CodePages, WhatEncodesWithoutTheDefaultIsACharacter)
{
    for (const unsigned int codePage : kTabledPages)
    {
        SCOPED_TRACE(codePage);
        for (unsigned int unit = 0; unit < 0x10000; ++unit)
        {
            int usedDefault = 0;
            const std::u16string text(1, static_cast<char16_t>(unit));
            const std::string bytes = Encode(codePage, text, &usedDefault);
            if (usedDefault)
                continue;
            const std::u16string fit = Decode(codePage, bytes);
            ASSERT_EQ(fit.size(), 1u) << std::hex << unit;
            ASSERT_EQ(Encode(codePage, fit), bytes) << std::hex << unit;
        }
    }
}

TEST(CodePages, MissingCharactersFitAsWellAsTheyCan)
{
    // Null bytes stand for the default character.
    const std::tuple<unsigned int, std::u16string, const char*> kRows[] = {
        {1252, u"\u0100\u0142\u0110", "AlD"},
        {1252, u"\u1EBF", "\xEA"}, // one mark goes, the other stays
        {1258, u"\u1EBF", "\xEA"},
        {1252, u"\uFF21\uFF0F", "A/"},
        {1252, u"\u2010\u2011\u2212\u2032\u3000", "---' "},
        {1252, u"\u2460\u212B", "1\xC5"},
        {1251, u"\u00E9", "e"},
        {932, u"\u00E9\u00A5", "e\\"},
        {1252, u"\u2260", nullptr}, // no equals sign
        {1252, u"\u02DB\uFB01\u2206\u65E5\uFFFD", nullptr},
        {949, u"\uD7B0", nullptr},
        {1252, u"\U0001D400", nullptr},
        {932, u"\xD83C", nullptr},
    };
    for (const auto& [codePage, units, fit] : kRows)
    {
        SCOPED_TRACE(testing::Message() << codePage << " " << std::hex << int(units[0]));
        int usedDefault = -1;
        EXPECT_EQ(Encode(codePage, units, &usedDefault),
                  fit ? fit : std::string(units.size(), '?'));
        EXPECT_EQ(usedDefault, fit ? 0 : 1);
    }
}

TEST(CodePages, TheActiveOneIsTheHosts)
{
    platform::SetActiveCodePage(932);
    EXPECT_EQ(win32::GetACP(), 932u);
    EXPECT_EQ(Decode(win32::kCodePageActive, "\x82\xA0"), u"\u3042");
    EXPECT_EQ(Encode(win32::kCodePageActive, u"\u3042"), "\x82\xA0");
    EXPECT_TRUE(win32::IsDBCSLeadByteEx(win32::kCodePageActive, 0x82));
    platform::SetActiveCodePage(437);
    EXPECT_EQ(win32::GetACP(), 1252u);
    platform::SetActiveCodePage(950);
    platform::ResetAll();
    EXPECT_EQ(win32::GetACP(), 1252u);
    EXPECT_EQ(Encode(win32::kCodePageActive, u"\u00E9"), "\xE9");
}

TEST(UTF8, IllFormedBytesAreReplaced)
{
    // By the number of characters that replace them.
    const std::vector<std::string> kBytes[] = {
        {},
        {"\x80", "\xC3", "\xE2", "\xE2\x82", "\xF0\x9F", "\xF0\x9F\x8E"},
        {"\xC0\x80", "\xC1\xBF"},
        {"\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xB0\x80", "\xF5\x80\xFF"},
        {"\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80"},
    };
    // Behind other text and in front of it the runs take other ways.
    const std::string letters(60, 'x');
    const std::u16string wide(60, u'x');
    for (std::size_t count = 1; count < std::size(kBytes); ++count)
    {
        const std::u16string replaced(count, u'\uFFFD');
        for (const std::string& bytes : kBytes[count])
        {
            SCOPED_TRACE(testing::PrintToString(bytes));
            EXPECT_EQ(Decode(65001, bytes), replaced);
            EXPECT_EQ(Decode(65001, bytes + "z"), replaced + u"z");
            EXPECT_EQ(Decode(65001, bytes + "\xC3\xA9"), replaced + u"\u00E9");
            EXPECT_EQ(Decode(65001, letters + bytes + letters), wide + replaced + wide);
        }
    }
    EXPECT_EQ(Decode(65001, "\xED\x9F\xBF\xEE\x80\x80"), u"\uD7FF\uE000");
}

TEST(UTF8, HalvesOfSurrogatePairsAreReplaced)
{
    const std::pair<std::u16string, std::string> kRows[] = {
        {u"\xD83C", "\uFFFD"},
        {u"\xDFACz", "\uFFFDz"},
        {u"a\xD83Cz", "a\uFFFDz"},
        {u"\xD83C\xD83C\xDFAC", "\uFFFD\U0001F3AC"},
        {u"\xDFAC\xD83C", "\uFFFD\uFFFD"},
        {u"\u3042\xD83C\u3042\u3042", "\u3042\uFFFD\u3042\u3042"},
    };
    for (const auto& [units, bytes] : kRows)
        EXPECT_EQ(Encode(65001, units), bytes);
}

// Texts of a few to some hundred characters, out of pieces whose conversion is
// known: no way through the runs may convert otherwise than another.
struct Piece
{
    std::string bytes;
    std::u16string units;
};

Piece RandomText(const std::vector<Piece>& pieces, std::mt19937& random)
{
    Piece text;
    const std::size_t favourite = random() % pieces.size();
    const std::size_t length = 1 + random() % 100;
    for (std::size_t i = 0; i < length; ++i)
    {
        const Piece& piece = pieces[random() % 4 ? favourite : random() % pieces.size()];
        text.bytes += piece.bytes;
        text.units += piece.units;
    }
    return text;
}

// Converts with the capacity cut everywhere: nothing is written behind it, and
// what is converted is the head of the whole. A character of so many places may
// be lost at the end.
template <class Text, class Convert>
void ExpectBoundaries(const Text& whole, std::size_t places, const Convert& convert)
{
    const typename Text::value_type kUntouched = '#';
    const int count = static_cast<int>(whole.size());
    for (int capacity = 1; capacity <= count + 1; ++capacity)
    {
        Text text(whole.size() + 2, kUntouched);
        win32::SetLastError(0);
        ASSERT_EQ(convert(text, capacity), capacity < count ? 0 : count);
        ASSERT_EQ(win32::GetLastError(), capacity < count ? 122u : 0u);
        const std::size_t fits = static_cast<std::size_t>(std::min(capacity, count));
        const std::size_t sure = fits < places ? 0 : fits - places;
        ASSERT_EQ(text.compare(0, sure, whole, 0, sure), 0);
        ASSERT_EQ(text.find_first_not_of(kUntouched, fits), Text::npos);
    }
}

void ExpectBoundaries(unsigned int codePage, const Piece& text)
{
    ExpectBoundaries(text.units, 1, [&](std::u16string& units, int capacity) {
        return win32::MultiByteToWideChar(codePage, 0, text.bytes.data(),
                                          static_cast<int>(text.bytes.size()), Units(units),
                                          capacity);
    });
    ExpectBoundaries(text.bytes, 3, [&](std::string& bytes, int capacity) {
        return win32::WideCharToMultiByte(codePage, 0, Units(text.units),
                                          static_cast<int>(text.units.size()), &bytes[0], capacity,
                                          nullptr, nullptr);
    });
}

TEST(Conversions, AllLengthsAndCapacities)
{
    const Piece a = {"a", u"a"};
    const Piece run = {"a long run of seventeen", u"a long run of seventeen"};
    const std::pair<unsigned int, std::vector<Piece>> kTexts[] = {
        {65001,
         {a,
          run,
          {"\xC3\xA9", u"\u00E9"},
          {"\xD0\x96 ", u"\u0416 "},
          {"\xE3\x81\x82", u"\u3042"},
          {"\xE3\x81\x82\xE6\x97\xA5", u"\u3042\u65E5"},
          {"\xF0\x9F\x8E\xAC", u"\U0001F3AC"}}},
        {1252, {a, run, {"\x80", u"\u20AC"}}},
        {932, {a, run, {"\xB1", u"\uFF71"}, {"\x95\\", u"\u8868"}}},
        {10001, {run, {"a\x80", u"a\\"}, {"\x82\xA0", u"\u3042"}}},
    };
    std::mt19937 random(1);
    for (const auto& texts : kTexts)
    {
        SCOPED_TRACE(texts.first);
        for (int round = 0; round < 60 && !testing::Test::HasFatalFailure(); ++round)
        {
            const Piece text = RandomText(texts.second, random);
            ASSERT_EQ(Decode(texts.first, text.bytes), text.units);
            ASSERT_EQ(Encode(texts.first, text.units), text.bytes);
            ExpectBoundaries(texts.first, text);
        }
    }
}

TEST(Conversions, ATerminatorMayStandForTheCount)
{
    unsigned short units[4] = {9, 9, 9, 9};
    EXPECT_EQ(win32::MultiByteToWideChar(932, 0, "a\x82\xA0", -1, units, 4), 3);
    EXPECT_EQ(std::u16string(units, units + 4), std::u16string(u"a\u3042\0\x9", 4));
    char bytes[8] = "#######";
    EXPECT_EQ(win32::WideCharToMultiByte(65001, 0, units, -1, bytes, 8, nullptr, nullptr), 5);
    EXPECT_EQ(std::string(bytes, 6), std::string("a\xE3\x81\x82\0#", 6));
}

TEST(Conversions, WhatIsRefusedIsToldApart)
{
    const unsigned short units[] = {'t', 0};
    const std::tuple<unsigned int, unsigned int, int, unsigned int> kRows[] = {
        {437, 0, 1, 87},
        {1252, 0, 0, 87},
        {1252, 0, -2, 87},
        {1252, 0x400, 1, 1004},
    };
    for (const auto& [page, flags, count, error] : kRows)
    {
        SCOPED_TRACE(testing::Message() << page << " " << flags << " " << count);
        unsigned short toUnits[8];
        char toBytes[8];
        win32::SetLastError(0);
        EXPECT_EQ(win32::MultiByteToWideChar(page, flags, "t", count, toUnits, 8), 0);
        EXPECT_EQ(win32::GetLastError(), error);
        win32::SetLastError(0);
        EXPECT_EQ(win32::WideCharToMultiByte(page, flags, units, count, toBytes, 8, 0, 0), 0);
        EXPECT_EQ(win32::GetLastError(), error);
    }
}
} // namespace
