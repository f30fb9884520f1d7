// A real catalogue of thousands of translated texts, taken through every form
// that a dictionary has: the names of languages, of the package iso-codes.

#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <boost/nowide/utf/convert.hpp>
#include <gtest/gtest.h>

#include <control.h>

#include "tests/dictionary/Texts.h"
#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"
#include "tools/zdict/text_line.h"

using hollin::Dictionary;

namespace
{
// A compiled catalogue: behind a header two tables, of the originals and of
// their translations, each row a length and an offset.
class Catalogue
{
public:
    explicit Catalogue(const std::string& path)
    {
        std::ifstream stream(path, std::ios_base::binary);
        std::ostringstream bytes;
        bytes << stream.rdbuf();
        mBytes = bytes.str();
        if (Integer(0) != 0x950412DE)
            throw std::runtime_error(path + " is no catalogue (scripts/deps installs iso-codes)");
    }

    std::size_t Count() const { return Integer(8); }
    std::string Original(std::size_t row) const { return String(Integer(12), row); }
    std::string Translation(std::size_t row) const { return String(Integer(16), row); }

private:
    std::uint32_t Integer(std::size_t offset) const
    {
        std::uint32_t value = 0;
        if (offset > mBytes.size() || mBytes.size() - offset < sizeof value)
            throw std::out_of_range("the catalogue ends too early");
        std::memcpy(&value, mBytes.data() + offset, sizeof value);
        return value;
    }

    std::string String(std::size_t table, std::size_t row) const
    {
        const std::size_t length = Integer(table + 8 * row);
        const std::size_t offset = Integer(table + 8 * row + 4);
        if (offset > mBytes.size() || mBytes.size() - offset < length)
            throw std::out_of_range("the catalogue ends too early");
        return mBytes.substr(offset, length);
    }

    std::string mBytes;
};

// A key for an original: what isn't ASCII, or means something in a key, as two
// digits.
std::string KeyOf(const std::string& original)
{
    std::ostringstream key;
    key << "/Languages/" << std::hex;
    for (const char character : original)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (byte <= ' ' || byte >= 127 || std::strchr("\"=%", character))
            key << '%' << static_cast<unsigned int>(byte);
        else
            key << character;
    }
    return key.str();
}

// The translations of one language, and of another one under keys of their own.
class LanguageNames : public testing::Test
{
protected:
    void SetUp() override
    {
        Read("/usr/share/locale/de/LC_MESSAGES/iso_639-3.mo", "");
        EXPECT_GE(mTexts.size(), 5000u);
        Read("/usr/share/locale/ja/LC_MESSAGES/iso_639-3.mo", "/ja");
        for (const auto& text : mTexts)
            mEntries.push_back({text.first, text.second});
    }
    void TearDown() override { platform::ResetAll(); }

    // The first original is empty; its translation tells of the file.
    void Read(const char* path, const std::string& prefix)
    {
        const Catalogue catalogue(path);
        ASSERT_GT(catalogue.Count(), 300u);
        for (std::size_t row = 1; row < catalogue.Count(); ++row)
        {
            const std::string text = catalogue.Translation(row);
            mTexts[prefix + KeyOf(catalogue.Original(row))] =
                boost::nowide::utf::convert_string<char16_t>(text.data(),
                                                             text.data() + text.size());
        }
    }

    Dictionary Made() const
    {
        Dictionary dictionary(true);
        dictionary.SetLanguage("de_DE");
        for (const auto& text : mTexts)
            dictionary.AddString(
                text.first.c_str(), reinterpret_cast<const std::uint16_t*>(text.second.data()),
                static_cast<std::uint32_t>(sizeof text.second[0] * text.second.size()));
        return dictionary;
    }

    void ExpectTexts(const std::string& image) const
    {
        const hollin::ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mLive, mTexts.size());
        EXPECT_EQ(report.mAstray, 0u);
        for (const Way way : kWays)
        {
            Loaded dictionary(image, way);
            EXPECT_TRUE(TextsOf(dictionary) == mTexts); // too many to print
        }
    }

    KeyedTexts mTexts;
    std::vector<TestEntry> mEntries;
};
} // namespace

TEST_F(LanguageNames, StayInImagesOfBothByteOrders)
{
    for (const bool bigEndian : {false, true})
    {
        const std::string image = Saved(Made(), Dictionary::kBinary, bigEndian);
        ExpectTexts(image);
        EXPECT_TRUE(image == BuildFlat(mEntries, {7, bigEndian, "de_DE", 0, 'Y'}).Image());
    }
}

TEST_F(LanguageNames, AreFoundByIdentifierWithoutKeys)
{
    for (const bool bigEndian : {false, true})
    {
        const Loaded dictionary(Saved(Made(), Dictionary::kBinaryWithoutKeys, bigEndian));
        std::uint32_t id = 0;
        for (const auto& text : mTexts)
            ASSERT_EQ(TextById(dictionary, id++), text.second);
        EXPECT_EQ(TextById(dictionary, id), u"(none)");
    }
}

TEST_F(LanguageNames, StayInImagesOfVersion1)
{
    for (const ImageBuilder& image : {BuildEntries(mEntries), BuildLengthTable(mEntries)})
    {
        ExpectTexts(image.Image());
        ExpectTexts(Saved(Loaded(image.Image())));
    }
}

TEST_F(LanguageNames, StayInTheLibrarysOwnTextForm)
{
    for (const auto& text : mTexts) // which the form as such doesn't protect
        ASSERT_EQ(text.second.find_first_of(u"^\\#"), std::u16string::npos);
    const std::string text = Saved(Made(), Dictionary::kText);
    ExpectTexts(text);
    ExpectTexts(Saved(Loaded(text), Dictionary::kText));
}

TEST_F(LanguageNames, StayInTextsOfEveryEncoding)
{
    Units units;
    for (const auto& text : mTexts)
        AppendLine(text.first, ToZString(text.second), &units);
    const std::u16string lines(units.begin(), units.end());
    ExpectTexts(TextImage(lines, false));
    ExpectTexts(TextImage(lines, true));
    platform::SetActiveCodePage(65001);
    ExpectTexts(
        boost::nowide::utf::convert_string<char>(lines.data(), lines.data() + lines.size()));
}
