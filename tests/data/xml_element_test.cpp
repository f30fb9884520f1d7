#include "U_XML.h"

#include <limits>
#include <string>
#include <tuple>

#include "U_Interact.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/CodeThrown.h"
#include "tests/support/Text.h"

namespace
{
class XMLElement : public BornLibrary
{
protected:
    // Returns the attributes, each as "name=value;".
    static std::string AttributesOf(const U_XML_Element& element)
    {
        std::string text;
        for (auto at = element.GetAttrsBegin(); at != element.GetAttrsEnd(); ++at)
            text += std::string(at->first.begin(), at->first.end()) + "=" +
                    std::string(at->second.begin(), at->second.end()) + ";";
        return text;
    }
};
} // namespace

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
    EXPECT_EQ(mAlerts.Texts(),
              (std::vector<std::string>{"Test Host error: Element \"caf\xC3\xA9\" does not have "
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
