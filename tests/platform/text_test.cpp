#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <win32/text.h>

#include "tests/support/System.h"

namespace
{
const unsigned short* Units(const std::u16string& text)
{
    return reinterpret_cast<const unsigned short*>(text.data());
}

unsigned short* Units(std::u16string& text)
{
    return reinterpret_cast<unsigned short*>(&text[0]);
}

// Returns the text. The count with a capacity of 0 must be the count of units written.
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

std::string Encode(unsigned int codePage, const std::u16string& units, int* usedDefault = nullptr,
                   unsigned int flags = 0)
{
    const int size = static_cast<int>(units.size());
    std::string bytes(units.size() * 3, '#');
    const int count =
        win32::WideCharToMultiByte(codePage, flags, Units(units), size, &bytes[0],
                                   static_cast<int>(bytes.size()), nullptr, usedDefault);
    EXPECT_EQ(win32::WideCharToMultiByte(codePage, flags, Units(units), size, nullptr, 0, nullptr,
                                         nullptr),
              count);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

TEST(CodePages, ConvertTextInBothDirections)
{
    const std::tuple<unsigned int, std::string, std::u16string> kRows[] = {
        {65001, "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"a\u0080\u07FF\u0800\uFFFF"},
        {65001, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        // Bytes that are no character become the default character.
        {10001, "\x85\x54z", u"\u30FBz"},
        {936, "\x81\x20\xFE\x39z\x81", u"??z?"},
        {949, "\xFE\x30z", u"?z"},
        {950, "\x81\x20z", u"?z"},
    };
    for (const auto& [codePage, bytes, units] : kRows)
    {
        EXPECT_EQ(Decode(codePage, bytes), units) << codePage;
        const bool hasDefault = units.find_first_of(u"?\u30FB") != std::u16string::npos;
        EXPECT_TRUE(hasDefault || Encode(codePage, units) == bytes) << codePage;
    }
}

// A character of code_pages.txt, whose head describes the form of that file.
struct Row
{
    std::string kind;
    unsigned int page;
    std::string bytes;
    std::u16string unit;
};

std::vector<Row> CodePageRows()
{
    std::ifstream file(U_CODE_PAGES);
    std::vector<Row> rows;
    std::string kind;
    std::vector<unsigned int> pages;
    for (std::string line, word; std::getline(file, line);)
    {
        std::istringstream in(line);
        if (line[0] == '[')
        {
            in.ignore() >> kind;
            pages.assign(std::istream_iterator<unsigned int>(in), {});
        }
        while (line[0] != '#' && in >> word)
        {
            std::size_t digits = 0;
            unsigned long number = std::stoul(word, &digits, 16);
            std::u16string units = Decode(65001, word.substr(digits));
            unsigned int first = 0;
            unsigned int last = 0;
            if (std::sscanf(&word[digits], "=%X-%X", &first, &last) > 0)
                units.assign(1, static_cast<char16_t>(first));
            while (first++ < last)
                units += static_cast<char16_t>(first);
            for (const char16_t unit : units)
            {
                std::string bytes(1, static_cast<char>(number));
                if (number > 0xFF)
                    bytes.insert(0, 1, static_cast<char>(number >> 8));
                for (const unsigned int page : pages)
                    rows.push_back({kind, page, bytes, {unit}});
                number += kind != "fits";
            }
        }
    }
    return rows;
}

TEST(CodePages, ConvertTheCharactersOfTheSystem)
{
    // The count of characters that each page converts in both directions.
    const std::pair<unsigned int, int> kPages[] = {
        {932, 9402}, {936, 24070}, {949, 17366},  {950, 19840}, {1250, 256}, {1251, 256},
        {1252, 256}, {1253, 256},  {1254, 256},   {1255, 256},  {1256, 256}, {1257, 256},
        {1258, 256}, {10000, 256}, {10001, 9400}, {10007, 256}};
    std::map<std::pair<unsigned int, std::u16string>, std::string> fits;
    for (const Row& row : CodePageRows())
    {
        if (row.kind == "fits")
        {
            fits[{row.page, row.unit}] = row.bytes;
            continue;
        }
        EXPECT_EQ(Decode(row.page, row.bytes), row.unit) << row.page;
        EXPECT_EQ(row.kind == "page" ? Encode(row.page, row.unit) : row.bytes, row.bytes);
    }
    EXPECT_EQ(fits.size(), 4080u);

    for (const auto& [page, characters] : kPages)
    {
        int exact = 0;
        for (unsigned int unit = 0; unit < 0x10000; ++unit)
        {
            const std::u16string text(1, static_cast<char16_t>(unit));
            const auto fit = fits.find({page, text});
            const bool hasFit = fit != fits.end();
            int isLost = 0;
            int isDefault = 0;
            const std::string bytes = Encode(page, text, &isLost, win32::kNoBestFitChars);
            const std::string nearest = Encode(page, text, &isDefault);
            ASSERT_TRUE(Decode(page, bytes) == (isLost ? u"?" : text) && (isLost || !hasFit) &&
                        nearest == (hasFit ? fit->second : bytes) &&
                        isDefault == (isLost && !hasFit))
                << page << std::hex << " " << unit << testing::PrintToString(nearest);
            exact += !isLost;
        }
        EXPECT_EQ(exact, characters) << page;
    }
}

TEST(CodePages, AnUnknownActivePageIsTheSystems)
{
    platform::ResetAll();
    const unsigned int own = win32::GetACP();
    EXPECT_TRUE(own == 1252 || IsWindows()) << own;
    platform::SetActiveCodePage(932);
    EXPECT_EQ(Decode(win32::kCodePageActive, "\x82\xA0"), u"\u3042");
    EXPECT_TRUE(win32::IsDBCSLeadByteEx(win32::kCodePageActive, 0x82));
    platform::SetActiveCodePage(437);
    EXPECT_EQ(win32::GetACP(), own);
}

// A text whose conversion is known.
struct Piece
{
    std::string bytes;
    std::u16string units;
};

// Returns a text of one to some hundred characters, mostly the same ones, so that all loops over
// runs convert a part of some text.
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

// Returns a text of mostly or only the same piece, with others and in every second text damage.
template <class String>
String RandomPieces(const std::vector<String>& pieces, const std::vector<String>& damage,
                    std::mt19937& random)
{
    String text;
    const String& favourite = pieces[random() % pieces.size()];
    const std::size_t others = random() % 17;
    const bool isDamaged = random() % 2 == 0;
    while (text.size() < 5000) // a count converts pieces of 4,096
    {
        if (!others || random() % others)
            text += favourite;
        else if (isDamaged && random() % 8 == 0)
            text += damage[random() % damage.size()];
        else
            text += pieces[random() % pieces.size()];
    }
    return text;
}

// Converts a text with and without vectors, and in pieces that end where a character does: the
// results are the same.
template <class String, class IsInner, class Convert>
void ExpectConvertedAsPieces(const String& text, IsInner isInner, Convert convert)
{
    const std::size_t kPiece = 40;
    decltype(convert(text)) converted;
    for (std::size_t from = 0, end = 0; from < text.size(); from = end)
    {
        end = std::min(from + kPiece, text.size());
        while (end < text.size() && isInner(text[end]))
            ++end;
        converted += convert(text.substr(from, end - from));
    }
    EXPECT_EQ(convert(text), converted);
    platform::SetVectors(false);
    EXPECT_EQ(convert(text), converted);
    platform::SetVectors(true);
}

// Vectors convert long texts, and other loops convert short ones.
TEST(UTF8, LongTextsAreConvertedAsTheirShortPieces)
{
    const std::string kRun(70, 'x');
    const std::string kNul(1, '\0');
    const std::vector<std::string> kBytes = {"a",      "word ",  "\u00E9",     "\u0436 ", "\u3042",
                                             "\uD7FF", "\uFFFF", "\U0001F3AC", kRun,      kNul};
    // Wine converts ill-formed text otherwise.
    const std::vector<std::string> kDamagedBytes =
        IsWine() ? kBytes
                 : std::vector<std::string>{
                       "\x80", "\xE3\x81", "\xE0\x9F\xBF",        "\xF4\x90\x80\x80",
                       "\xC3", "\xC1\xBF", "\xED\xA0\x80",        "\xE1\x80\x80\x80",
                       "\xFF", "\xE9word", "\x80\x80\x80\x80\x80"};
    const std::u16string kWideRun(40, u'x');
    const std::u16string kWideNul(1, u'\0');
    const std::vector<std::u16string> kUnits = {u"a",          u"word ",  u"\x7F\x80", u"\u07FF",
                                                u"\u0800",     u"\uD7FF", u"\uE000",   u"\uFFFF",
                                                u"\U0001F3AC", kWideRun,  kWideNul};
    const std::vector<std::u16string> kDamagedUnits = {u"\xD83C", u"\xDFAC", u"\xDFAC\xD83C"};
    std::mt19937 random(1);
    for (int round = 0; round < 300 && !testing::Test::HasFailure(); ++round)
    {
        ExpectConvertedAsPieces(
            RandomPieces(kBytes, kDamagedBytes, random),
            [](char byte) { return (byte & 0xC0) == 0x80; },
            [](const std::string& bytes) { return Decode(65001, bytes); });
        ExpectConvertedAsPieces(
            RandomPieces(kUnits, kDamagedUnits, random),
            [](char16_t unit) { return (unit & 0xFC00) == 0xDC00; },
            [](const std::u16string& units) { return Encode(65001, units); });
    }
}

// Converts with every capacity: nothing may be written after the capacity, and the text written
// must be the head of the whole, without at most one character of `longest` elements.
template <class Text, class Convert>
void ExpectBoundaries(const Text& whole, std::size_t longest, const Convert& convert)
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
        const std::size_t sure = fits < longest ? 0 : fits - longest;
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

TEST(Conversions, ReplaceLostCharactersByTheDefaultOfTheCaller)
{
    const std::tuple<unsigned int, const char*, std::string> kRows[] = {
        {932, "\x81\x45", "a\x81\x45z"},
        {932, "!", "a!z"},
        {1252, "!", "a!z"},
    };
    for (const auto& [codePage, wanted, expected] : kRows)
    {
        char bytes[8];
        int isUsed = 0;
        const int count = win32::WideCharToMultiByte(codePage, 0, Units(u"a\u0E01z"), 3, bytes, 8,
                                                     wanted, &isUsed);
        EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(count)), expected) << wanted;
        EXPECT_TRUE(isUsed) << wanted;
    }
}

TEST(Conversions, WriteOnlyTheCharactersThatFit)
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
          // Wine returns success where a half of the pair has no room.
          IsWine() ? a : Piece{"\xF0\x9F\x8E\xAC", u"\U0001F3AC"}}},
        {1252, {a, run, {"\x80", u"\u20AC"}}},
        {932, {a, run, {"\xB1", u"\uFF71"}, {"\x95\\", u"\u8868"}}},
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

TEST(Conversions, IncludeTheTerminatorWithoutACount)
{
    unsigned short units[4] = {9, 9, 9, 9};
    EXPECT_EQ(win32::MultiByteToWideChar(932, 0, "a\x82\xA0", -1, units, 4), 3);
    EXPECT_EQ(std::u16string(units, units + 4), std::u16string(u"a\u3042\0\x9", 4));
    char bytes[8] = "#######";
    EXPECT_EQ(win32::WideCharToMultiByte(65001, 0, units, -1, bytes, 8, nullptr, nullptr), 5);
    EXPECT_EQ(std::string(bytes, 6), std::string("a\xE3\x81\x82\0#", 6));
}

TEST(Conversions, RefuseArgumentsWithAnErrorOfTheirOwn)
{
    unsigned short units[8];
    char bytes[8];
    const std::tuple<unsigned int, unsigned int, int, unsigned int> kRows[] = {
        {12345, 0, 1, 87},     {1252, 0, 0, 87},        {1252, 0, -2, 87},
        {1252, 0x80, 1, 1004}, {65001, 0x400, 1, 1004},
    };
    for (const auto& [page, flags, count, error] : kRows)
    {
        SCOPED_TRACE(testing::Message() << page << " " << flags << " " << count);
        win32::SetLastError(0);
        EXPECT_EQ(win32::MultiByteToWideChar(page, flags, "t", count, units, 8), 0);
        EXPECT_EQ(win32::GetLastError(), error);
        win32::SetLastError(0);
        EXPECT_EQ(win32::WideCharToMultiByte(page, flags, Units(u"t"), count, bytes, 8, 0, 0), 0);
        EXPECT_EQ(win32::GetLastError(), error);
    }
    EXPECT_EQ(win32::MultiByteToWideChar(1252, 0, nullptr, 1, units, 8), 0);
    EXPECT_EQ(win32::MultiByteToWideChar(1252, 0, "t", 1, units, -1), 0);
    EXPECT_EQ(win32::MultiByteToWideChar(1252, 0, "t", 1, nullptr, 8), 0);
    if (!IsWine()) // which ignores the default character
    {
        EXPECT_EQ(win32::WideCharToMultiByte(65001, 0, Units(u"t"), 1, bytes, 8, "?", nullptr), 0);
    }
    EXPECT_FALSE(win32::IsDBCSLeadByteEx(12345, 0x81));
}
} // namespace
