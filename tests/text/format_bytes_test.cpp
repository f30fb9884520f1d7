// Sizes in bytes for people.

#include <string>
#include <utility>

#include <control.h>

#include "U_Format.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
typedef BornLibrary FormatBytes;
} // namespace

TEST_F(FormatBytes, SizesAreForPeople)
{
    const U_u64 kGiB = 1 << 30;
    const std::pair<U_u64, const char*> sizes[] = {
        {0, "0 KB"},
        {1, "1 bytes"},
        {12, "12 bytes"},
        {1023, "1023 bytes"},
        {1024, "1 KB"},
        {1023999, "999 KB"},
        {1048575, "1023 KB"},
        {1048576, "1.0 MB"},
        {kMiB * 3 / 2, "1.5 MB"},
        {100 * kMiB - 1, "100.0 MB"},
        {104857600, "100 MB"},
        {kGiB - 1, "1023 MB"},
        {1073741824, "1.0 GB"},
        {kGiB * 3 / 2, "1.5 GB"},
        {107374182400, "100 GB"},
        {123 * kGiB + 1, "123 GB"},
        {~U_u64(0), "17179869183 GB"},
    };
    for (const auto& [size, text] : sizes)
    {
        char out[256];
        EXPECT_EQ(U_LongFormatBytes(size, out), out);
        EXPECT_STREQ(out, text);
        EXPECT_EQ(U_LongFormatBytes(size), U_AsciiToUTF16String(text));
    }
    platform::SetUserLocale("de_DE");
    EXPECT_EQ(U_LongFormatBytes(kMiB * 3 / 2), Units(u"1,5 MB"));
    EXPECT_EQ(U_LongFormatBytes(1, nullptr), nullptr);
}

TEST_F(FormatBytes, UnitsAreTranslated)
{
    const std::u16string kLong(300, u'x');
    DictionaryImage image = BinaryImage(
        {{"/QX/U/ByteSizeFormat/Bytes", u"octets"}, {"/QX/U/ByteSizeFormat/MegaBytes", kLong}});
    ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    EXPECT_EQ(U_LongFormatBytes(12), Units(u"12 octets"));
    EXPECT_EQ(U_LongFormatBytes(kMiB), Units(u"1.0 " + kLong.substr(0, 251)));
}
