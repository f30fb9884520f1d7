// Elements, escapes, and binary data as text.

#include <limits>
#include <map>
#include <random>
#include <string_view>
#include <tuple>
#include <utility>

#include "U_Interact.h"
#include "U_XML.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/Text.h"

using namespace std::string_view_literals;

namespace
{
typedef BornLibrary XMLEscapes;
typedef BornLibrary BinaryText;
typedef BornLibrary XMLElement;

U_UTF8String Body(const U_UTF8String& text)
{
    return U_EscapeBodyTextToSafeXML(text, false, false);
}

U_UTF8String Attribute(const U_UTF8String& text)
{
    return U_EscapeAttributeValueToSafeXML(text, false, false);
}

// Returns the attributes, each as "name=value;".
std::string AttributesOf(const U_XML_Element& element)
{
    std::string text;
    for (auto at = element.GetAttrsBegin(); at != element.GetAttrsEnd(); ++at)
        text += std::string(at->first.begin(), at->first.end()) + "=" +
                std::string(at->second.begin(), at->second.end()) + ";";
    return text;
}
} // namespace

TEST_F(XMLEscapes, EachByteIsEscapedCopiedOrLeftOut)
{
    typedef std::pair<U_UTF8String, U_UTF8String> Escaped; // in bodies and in attributes
    const std::map<int, std::pair<const char*, const char*>> entities = {
        {9, {"&#x9;", "&#x9;"}},   {10, {"&#xA;", "&#xA;"}}, {13, {"&#xD;", "&#xD;"}},
        {'&', {"&amp;", "&amp;"}}, {'<', {"&lt;", "&lt;"}},  {'>', {"&gt;", "&gt;"}},
        {'"', {"\"", "&quot;"}},   {'\'', {"'", "&apos;"}},
    };
    for (int byte = 0; byte < 256; ++byte)
    {
        const U_UTF8String kept(byte < 32 ? 0 : 1, static_cast<U_u8>(byte));
        Escaped escaped(kept, kept);
        if (const auto entity = entities.find(byte); entity != entities.end())
            escaped = {Bytes(entity->second.first), Bytes(entity->second.second)};
        // At the start, at the borders of a block, and after a run that is searched in pieces.
        for (std::size_t run : {1u, 127u, 128u, 5000u})
        {
            const U_UTF8String before(run, 'x');
            const U_UTF8String text = before + static_cast<U_u8>(byte) + Bytes("y");
            ASSERT_EQ(Body(text), before + escaped.first + Bytes("y")) << byte;
            ASSERT_EQ(Attribute(text), before + escaped.second + Bytes("y")) << byte;
        }
    }
    EXPECT_TRUE(mAlerts.Texts().empty());
}

// With and without vectors, which skip blocks of plain text.
TEST_F(XMLEscapes, AMixedTextIsEscapedAsItsBytes)
{
    std::mt19937 random(1);
    U_UTF8String text;
    U_UTF8String body;
    U_UTF8String attribute;
    for (int round = 0; round < 100; ++round)
    {
        const U_UTF8String plain(random() % 600, static_cast<U_u8>('A' + random() % 26));
        const U_UTF8String byte(1, static_cast<U_u8>(random() % 256));
        text += plain + byte;
        body += plain + Body(byte);
        attribute += plain + Attribute(byte);
    }
    for (const bool vectors : {true, false})
    {
        platform::SetVectors(vectors);
        EXPECT_EQ(Body(text), body);
        EXPECT_EQ(Attribute(text), attribute);
    }
}

TEST_F(XMLEscapes, OnlyTheTablesEntitiesAreUnescaped)
{
    const std::tuple<std::string_view, std::string_view, std::string_view> rows[] = {
        {"", "", ""},
        {"&amp;amp;", "&amp;", "&amp;"},
        {"&amp;lt;&lt;", "&lt;<", "&lt;<"},
        {"a & b; &lt;", "a & b; <", "a & b; <"},
        {"&&lt;&lt;", "&&lt;<", "&&lt;<"}, // an unknown entity ends at the first ";"
        {"&quot;&apos;", "&quot;&apos;", "\"'"},
        {"&#x9;&#xA;&#xD;", "\t\n\r", "\t\n\r"},
        {"&#10;&#xa;&AMP;&#x09;", "&#10;&#xa;&AMP;&#x09;", "&#10;&#xa;&AMP;&#x09;"},
        {"x&amp", "x&amp", "x&amp"},
        {"&", "&", "&"},
        {";&;", ";&;", ";&;"},
        {"\0&gt;\0"sv, "\0>\0"sv, "\0>\0"sv},
        {"caf\xC3\xA9&\xFF;&gt;", "caf\xC3\xA9&\xFF;>", "caf\xC3\xA9&\xFF;>"},
    };
    for (const auto& [text, body, attribute] : rows)
    {
        SCOPED_TRACE(text);
        EXPECT_EQ(U_UnEscapeXMLBodyText(Bytes(text)), Bytes(body));
        EXPECT_EQ(U_UnEscapeXMLAttributeValue(Bytes(text)), Bytes(attribute));
    }
    // Many entities that never end, and one that ends after all of them.
    const U_UTF8String open(200000, '&');
    EXPECT_EQ(U_UnEscapeXMLBodyText(open), open);
    EXPECT_EQ(U_UnEscapeXMLBodyText(open + Bytes(";")), open + Bytes(";"));
}

TEST_F(XMLEscapes, IllegalCharactersAreReportedOneByOne)
{
    const U_UTF8String text = Bytes("caf\xC3\xA9\x01 <\x1F\0\x0B"sv);
    EXPECT_EQ(U_EscapeBodyTextToSafeXML(text, true, false), Bytes("caf\xC3\xA9 &lt;"));
    const Texts alerts = mAlerts.Texts();
    ASSERT_EQ(alerts.size(), 3u);
    // The text in a report ends at a NUL.
    const char* const kCharacters[] = {"\x01", "\x1F", "\x0B"};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(alerts[i], "Test Host error: Illegal XML character \"" +
                                 std::string(kCharacters[i]) +
                                 "\" in string \"caf\xC3\xA9\x01 <\x1F\n\n( 23 :: 0 )");
}

TEST_F(XMLEscapes, LongTextIsCutInTheReportAtACharacter)
{
    ScActiveCodePage utf8(65001);
    std::string pairs;
    for (int i = 0; i < 63; ++i)
        pairs += "\xF0\x9F\x98\x80"; // two units each, which 128 and the \x02 leave half of
    U_EscapeBodyTextToSafeXML(Bytes("\x02" + pairs + pairs + pairs + pairs + pairs), true, false);
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host error: Illegal XML character \"\x02\" in string "
                                     "\"\x02" +
                                     pairs + "\"\n\n( 23 :: 0 )"});
}

TEST_F(XMLEscapes, TheFirstIllegalCharacterThrowsIfAsked)
{
    for (bool reports : {false, true})
    {
        mAlerts.Clear();
        EXPECT_THROW(U_EscapeAttributeValueToSafeXML(Bytes("a\x01\x02"), reports, true), int);
        EXPECT_EQ(mAlerts.Texts().size(), 1u);
    }
    const U_UTF8String illegal = Bytes("\x1F");
    EXPECT_EQ(CodeThrown([&] { U_EscapeBodyTextToSafeXML(illegal, false, true); }), 1);
    EXPECT_EQ(U_EscapeBodyTextToSafeXML(Bytes("a\0b"sv), true, true), Bytes("ab"));
}

TEST_F(BinaryText, ArrayIsReplacedAndCharged)
{
    const U_u64 before = InUse();
    {
        U_ScAutoArray<unsigned char> data;
        U_UTF8StringToBinaryData(U_UTF8String(20000, '1'), &data);
        EXPECT_EQ(InUse(), before + 10000);
        U_UTF8StringToBinaryData(Bytes("0a0b"), &data);
        EXPECT_EQ(InUse(), before + 2);
        U_UTF8StringToBinaryData(U_UTF8String(), &data);
        ASSERT_EQ(data.Count(), 2);
        EXPECT_EQ(data.Get()[1], 0x0B);
        U_UTF8StringToBinaryData(Bytes("AB1\0ff"sv), &data);
        ASSERT_EQ(data.Count(), 3);
        EXPECT_EQ(data.Get()[1], 0x10); // half of a pair before the NUL
        EXPECT_EQ(U_BinaryDataToUTF8String(2, nullptr), U_UTF8String());
        EXPECT_EQ(U_BinaryDataToUTF8String(-1, data.Get()), U_UTF8String());
    }
    EXPECT_EQ(InUse(), before);
}

TEST_F(BinaryText, RefusedMemoryLeavesTheArrayAndIsntReported)
{
    U_ScAutoArray<unsigned char> data;
    U_UTF8StringToBinaryData(Bytes("0a0b"), &data);
    // Larger than the memory that malloc keeps; sanitizers refuse larger blocks.
    const U_UTF8String large((MemoryCanBeLimited() ? 200 : 4) * kMiB, '1');
    const auto decode = [&] { U_UTF8StringToBinaryData(large, &data); };
    if (MemoryCanBeLimited())
    {
        const ScAddressSpaceLimit limited(kMiB);
        EXPECT_EQ(CodeThrown(decode), 4) << "of the process";
    }
    SetLimitsAboveUse(0, kMiB);
    EXPECT_EQ(CodeThrown(decode), 4) << "of the budget";
    ASSERT_EQ(data.Count(), 2);
    EXPECT_EQ(data.Get()[0], 0x0A);
    EXPECT_TRUE(mAlerts.Texts().empty());
}

TEST_F(XMLElement, AttributesComeInByteOrderOfTheirNamesWithTheLastValue)
{
    U_XML_Element element(Bytes("clip"), 0);
    EXPECT_TRUE(element.IsValid());
    EXPECT_FALSE(U_XML_Element().IsValid());
    element.SetAttribute("z", Bytes("1"));
    element.SetAttribute(Bytes("\xC3\xA9"), Bytes("2"));
    element.SetAttribute("Z", Bytes("3"));
    element.SetAttribute("z", Bytes("4"));
    element.SetAttributeLong("number", 255, false);
    element.SetAttributeLong("hex", 255, true);
    element.SetAttributeLong("minus", -1, true);
    element.SetAttributeBool("on", true);
    element.SetAttributeBool("off", false);
    EXPECT_EQ(AttributesOf(element),
              "Z=3;hex=ff;minus=ffffffff;number=255;off=0;on=1;z=4;\xC3\xA9=2;");
}

TEST_F(XMLElement, CopyHoldsAllFieldsOfItsOwn)
{
    U_XML_Element original(Bytes("clip"), 7);
    original.SetNamespace(Bytes("n"));
    original.SetBodyText(Bytes("b"));
    original.SetCDataSection(Bytes("c"));
    original.SetAttribute("a", Bytes("1"));
    const U_XML_Element copy(original);
    U_XML_Element assigned;
    assigned = original;
    const U_XML_Element& itself = assigned;
    const auto held = itself.GetAttrsBegin();
    assigned = itself;
    EXPECT_EQ(held, itself.GetAttrsBegin());
    original.SetBodyText(Bytes("changed"));
    original.SetAttribute("a", Bytes("changed"));
    for (const U_XML_Element* element : {&copy, &static_cast<const U_XML_Element&>(assigned)})
    {
        EXPECT_EQ(element->GetName(), Bytes("clip"));
        EXPECT_EQ(element->GetType(), 7);
        EXPECT_EQ(element->GetNamespace(), Bytes("n"));
        EXPECT_EQ(element->GetBodyText(), Bytes("b"));
        EXPECT_EQ(element->GetCDataSection(), Bytes("c"));
        EXPECT_EQ(AttributesOf(*element), "a=1;");
    }
}

TEST_F(XMLElement, NumbersAreReadAsFarAsTheyGo)
{
    const int kMost = std::numeric_limits<int>::max();
    const int kLeast = std::numeric_limits<int>::min();
    const std::tuple<const char*, int, int> rows[] = {
        {"", 0, 0},
        {"12", 12, 0x12},
        {" \t-12x", -12, -0x12},
        {"ff", 0, 0xFF},
        {"FF", 0, 0xFF},
        {"0x1F", 0, 0x1F},
        {"word", 0, 0},
        {"+3", 3, 3},
        {"+-3", 0, 0},
        {"- 3", 0, 0},
        {"4294967298", kMost, -1},
        {"2147483648", kMost, -1},
        {"-99999999999999999999", kLeast, 1}, // as -0xFFFFFFFF, the least of 32 bits
        {"ffffffff", 0, -1},
        {"80000000", 80000000, kLeast},
        {"1e3", 1, 0x1E3},
    };
    U_XML_Element element(Bytes("e"), 1);
    for (const auto& [text, decimal, hex] : rows)
    {
        SCOPED_TRACE(text);
        element.SetAttribute("n", Bytes(text));
        int value = 77;
        EXPECT_TRUE(element.GetAttributeValueLong("n", &value, false, true));
        EXPECT_EQ(value, decimal);
        value = 77;
        EXPECT_TRUE(element.GetAttributeValueLong("n", &value, true, true));
        EXPECT_EQ(value, hex);
        bool truth = decimal == 0;
        EXPECT_TRUE(element.GetAttributeValueBool("n", &truth, false));
        EXPECT_EQ(truth, decimal != 0);
        EXPECT_TRUE(element.GetAttributeValueBool("n", &truth, true));
        EXPECT_EQ(truth, hex != 0);
    }
    EXPECT_TRUE(mAlerts.Texts().empty());
}

TEST_F(XMLElement, MissingAttributeIsReportedIfAskedFor)
{
    const U_XML_Element element(Bytes("caf\xC3\xA9"), 1);
    U_UTF8String text = Bytes("old");
    int number = 77;
    bool truth = true;
    EXPECT_FALSE(element.GetAttributeValue("x", &text, false));
    EXPECT_FALSE(element.GetAttributeValueLong("x", &number, false, false));
    EXPECT_FALSE(element.GetAttributeValueBool("x", &truth, false));
    EXPECT_EQ(text, U_UTF8String());
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(truth);
    EXPECT_TRUE(mAlerts.Texts().empty());

    text = Bytes("old");
    EXPECT_FALSE(element.GetAttributeValue(Bytes("\xE6\x97\xA5"), &text, true));
    EXPECT_EQ(text, U_UTF8String());
    EXPECT_FALSE(element.GetAttributeValueLong("y", &number, true, true));
    EXPECT_EQ(mAlerts.Texts(), (Texts{"Test Host error: Element \"caf\xC3\xA9\" does not have "
                                      "attribute \"\xE6\x97\xA5\".\n\n( 23 :: 0 )",
                                      "Test Host error: Element \"caf\xC3\xA9\" does not have "
                                      "attribute \"y\".\n\n( 23 :: 0 )"}));

    U_AddLoggingCallback([](void*, U_u32, U_u16, const char*) { return 42; }, nullptr);
    text = Bytes("old");
    EXPECT_EQ(CodeThrown([&] { element.GetAttributeValue("x", &text, true); }), 42);
    EXPECT_EQ(text, Bytes("old"));
}

TEST_F(XMLElement, LivesInTheLibrarysHeap)
{
    const U_u64 before = InUse();
    const U_XML_Element* const element = new U_XML_Element(Bytes("e"), 1);
    EXPECT_GE(InUse(), before + sizeof(U_XML_Element));
    delete element;
    EXPECT_EQ(InUse(), before);
}
