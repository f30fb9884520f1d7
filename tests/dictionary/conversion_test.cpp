// Conversions between texts and bytes, and their hooks.

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

#include <platform/control.h>

#include "tests/dictionary/Loading.h"

using hollin::TextEncoding;
using hollin::VoErrException;
using hollin::ZString;

namespace
{
const std::uint32_t kOther = 9;

std::int32_t sFailure = 0;
TextEncoding sEncoding = nullptr;

// Hooks that convert each byte to the unit that is 1 higher, and back.
std::int32_t CountUnits(const char*, std::uint32_t length, std::uint32_t* count,
                        TextEncoding encoding)
{
    sEncoding = encoding;
    *count = length;
    return 0;
}

std::int32_t ToUnits(const char* bytes, std::uint32_t length, std::uint16_t* units, std::uint32_t,
                     TextEncoding)
{
    std::transform(bytes, bytes + length, units,
                   [](char byte) { return static_cast<std::uint16_t>(byte + 1); });
    return sFailure;
}

std::int32_t CountBytes(const std::uint16_t*, std::uint32_t length, std::uint32_t* count,
                        TextEncoding)
{
    *count = length + 100;
    return sFailure;
}

std::int32_t ToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                     std::uint32_t capacity, std::uint32_t* outLength, TextEncoding)
{
    *outLength = std::min(length, capacity);
    std::transform(units, units + *outLength, bytes,
                   [](std::uint16_t unit) { return static_cast<char>(unit - 1); });
    return sFailure;
}

class Conversion : public testing::Test
{
protected:
    void TearDown() override
    {
        sFailure = 0;
        sEncoding = nullptr;
        hollin::SetConversionHooks(nullptr, nullptr, nullptr, nullptr);
        hollin::SetCompareHook(nullptr);
        hollin::SetDefaultEncoding(nullptr);
        platform::ResetAll();
    }

    // The bytes that fit, and whether they are the whole text.
    typedef std::pair<std::string, bool> Cut;

    static Cut ToMultibyte(const ZString& text, std::uint32_t size, TextEncoding encoding)
    {
        std::string buffer(size + 1, '#');
        text.ToMultibyte(&buffer[0], size, false, encoding);
        EXPECT_EQ(buffer[size], '#') << "beyond the buffer";
        const std::string bytes = buffer.c_str();
        const std::int32_t code =
            CodeThrownBy([&] { text.ToMultibyte(&buffer[0], size, true, encoding); });
        EXPECT_TRUE(code == 0 || code == VoErrException::kBufferTooSmall) << code;
        EXPECT_EQ(buffer.c_str(), bytes);
        return Cut{bytes, code == 0};
    }

    static std::string ToPascal(const ZString& text, std::uint32_t size)
    {
        std::string buffer(size + 1, '#');
        text.ToPascal(reinterpret_cast<unsigned char*>(&buffer[0]), size, false);
        EXPECT_EQ(buffer[size], '#') << "beyond the buffer";
        return buffer.substr(1, static_cast<unsigned char>(buffer[0]));
    }
};
} // namespace

TEST_F(Conversion, BytesAreReadInTheirEncoding)
{
    EXPECT_EQ(ToText(ZString("\xE9\x80")), u"\u00E9\u20AC");
    EXPECT_EQ(ToText(ZString("\xE9", &kOther)), u"\u00E9");
    EXPECT_EQ(ToText(ZString("\xC3\xA9", &hollin::kEncodingUTF8)), u"\u00E9");
    hollin::SetDefaultEncoding(&hollin::kEncodingUTF8);
    EXPECT_EQ(ToText(ZString("\xC3\xA9")), u"\u00E9");
    EXPECT_EQ(ToText(ZString("\xE9", &kOther)), u"\u00E9") << "only a null encoding is replaced";
    const std::string large(100000, 'x');
    EXPECT_EQ(ToText(ZString(large.c_str())), std::u16string(100000, u'x'));
}

TEST_F(Conversion, TextIsCutBetweenCharacters)
{
    const TextEncoding utf8 = &hollin::kEncodingUTF8;
    const std::tuple<unsigned int, std::uint32_t, TextEncoding, std::u16string, Cut> rows[] = {
        {1252, 3, nullptr, u"a\u00E9", {"a\xE9", true}},
        {1252, 2, nullptr, u"a\u00E9", {"a", false}},
        {1252, 1, nullptr, u"", {"", true}},
        {932, 6, nullptr, u"a\u3042\u3044", {"a\x82\xA0\x82\xA2", true}},
        {932, 5, nullptr, u"a\u3042\u3044", {"a\x82\xA0", false}},
        {932, 8, utf8, u"a\u3042\u3044", {"a\xE3\x81\x82\xE3\x81\x84", true}},
        {932, 7, utf8, u"a\u3042\u3044", {"a\xE3\x81\x82", false}},
        {1252, 4, utf8, u"\U0001F600", {"", false}},
        {1252, 5, utf8, u"\U0001F600", {"\xF0\x9F\x98\x80", true}},
        {65001, 6, nullptr, u"a\u3042\u3044", {"a\xE3\x81\x82", false}},
    };
    for (const auto& [codePage, size, encoding, whole, cut] : rows)
    {
        SCOPED_TRACE(testing::Message() << codePage << " " << size);
        platform::SetActiveCodePage(codePage);
        const ZString text = ToZString(whole);
        EXPECT_EQ(ToMultibyte(text, size, encoding), cut);
        EXPECT_EQ(text.MultibyteLength(encoding) <= size, cut.second);
    }
    const ZString text = ToZString(u"a");
    EXPECT_NO_THROW(text.ToMultibyte(std::string("b").data(), 0, false));
    EXPECT_EQ(CodeThrownBy([&] { text.ToMultibyte(nullptr, 9, false); }),
              VoErrException::kBufferTooSmall);
}

TEST_F(Conversion, PascalTextsHoldUpTo255Bytes)
{
    EXPECT_EQ(ToPascal(ToZString(u"text"), 5), "text");
    EXPECT_EQ(ToPascal(ToZString(u"text"), 4), "tex");
    EXPECT_EQ(ToPascal(ToZString(u"text"), 1), "");
    EXPECT_EQ(ToPascal(ZString(), 1), "");
    platform::SetActiveCodePage(932);
    const std::u16string text(150, u'\u3042');
    EXPECT_EQ(ToPascal(ToZString(text), 1000).size(), 254u);
    unsigned char bytes[300];
    EXPECT_EQ(CodeThrownBy([&] { ToZString(text).ToPascal(bytes, 300, true); }),
              VoErrException::kBufferTooSmall);
    EXPECT_EQ(CodeThrownBy([&] { ToZString(text).ToPascal(nullptr, 300, false); }),
              VoErrException::kBufferTooSmall);
}

TEST_F(Conversion, ReplacedHooksConvert)
{
    EXPECT_TRUE(hollin::ConversionHooksAreDefault());
    hollin::SetConversionHooks(CountUnits, ToUnits, CountBytes, ToBytes);
    EXPECT_FALSE(hollin::ConversionHooksAreDefault());
    EXPECT_EQ(ToText(ZString("abc", &kOther)), u"bcd");
    EXPECT_EQ(sEncoding, &kOther);
    hollin::SetDefaultEncoding(&kOther);
    sEncoding = nullptr;
    EXPECT_EQ(ToText(hollin::Dictionary().GetString("$$$/a=ab")), u"bc");
    EXPECT_EQ(sEncoding, &kOther);
    EXPECT_EQ(ToMultibyte(ToZString(u"bcd"), 4, nullptr).first, "abc");
    EXPECT_EQ(ToZString(u"bcd").MultibyteLength(), 103u);

    hollin::SetConversionHooks(nullptr, ToUnits, nullptr, nullptr);
    EXPECT_FALSE(hollin::ConversionHooksAreDefault());
    EXPECT_EQ(ToText(ZString("abc")), u"bcd");
    EXPECT_EQ(ToZString(u"bcd").MultibyteLength(), 4u);
    hollin::SetConversionHooks(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(hollin::ConversionHooksAreDefault());
}

TEST_F(Conversion, FailureOfAHookIsThrown)
{
    hollin::SetConversionHooks(CountUnits, ToUnits, CountBytes, ToBytes);
    sFailure = 4711;
    const ZString text = ToZString(u"bcd");
    std::string bytes(11, '#');
    EXPECT_EQ(CodeThrownBy([] { ZString("abc"); }), 4711);
    EXPECT_EQ(CodeThrownBy([] { hollin::Dictionary().GetString("/a=b"); }), 4711);
    EXPECT_EQ(CodeThrownBy([&] { text.MultibyteLength(); }), 4711);
    EXPECT_EQ(CodeThrownBy([&] { text.ToMultibyte(&bytes[0], 10, false); }), 4711);
    EXPECT_LT(std::strlen(bytes.c_str()), 10u) << "terminated all the same";
    EXPECT_NO_THROW(ZString(""));
    sFailure = VoErrException::kBufferTooSmall;
    EXPECT_EQ(CodeThrownBy([] { ZString("abc"); }), VoErrException::kBufferTooSmall);
    EXPECT_EQ(CodeThrownBy([&] { text.ToMultibyte(&bytes[0], 10, false); }), 0);
    EXPECT_STREQ(bytes.c_str(), "abc");
}

TEST_F(Conversion, CompareHookOrdersTexts)
{
    hollin::SetCompareHook(
        [](const std::uint16_t*, std::uint32_t left, const std::uint16_t*, std::uint32_t right) {
            return std::int32_t(left) - std::int32_t(right);
        });
    EXPECT_EQ(ToZString(u"abc"), ToZString(u"xyz"));
    EXPECT_LT(ToZString(u"z"), ToZString(u"ab"));
    hollin::SetCompareHook(nullptr);
    EXPECT_NE(ToZString(u"abc"), ToZString(u"xyz"));
}
