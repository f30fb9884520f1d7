#include <string>

#include <zelboxmp/xmp.h>

#include "U_Any.h"
#include "U_AnyTree.h"
#include "U_XML.h"
#include "U_XMP.h"
#include "tests/data/Trees.h"
#include "tests/operations/Operations.h"
#include "tests/support/Text.h"

namespace
{
const char16_t kJSONText[] =
    uR"({"a name of some length":"a text of some length","b":[{"c":1},{"d":2.5}],"e":true})";
const U_UTF16String kJSON = Units(kJSONText);
const U_UTF16String kKey = Units(u"a name of some length");
const U_UTF16String kOther = Units(u"another name of some length");
const U_UTF16String kText = Units(u"a text of some length");
const U_Any kVariant(kText);
const U_UTF16String kLiteral = Units(u"\"a text of some length\"");

const char kLong[] = "a name of some length";
const U_UTF8String kName = Bytes(kLong);
const U_UTF8String kDigits = Bytes("00010203040506070809");
const U_UTF8String kIllegal = Bytes("a text with \x01 and \x02 in it");
const U_UTF8String kMarkup = Bytes("a <text> & its 'marks' of \"XML\"");

const U_AnyTree& Tree()
{
    static const U_AnyTree tree = TreeOf(kJSONText);
    return tree;
}

const U_AnyTree& Flat()
{
    static const U_AnyTree tree = TreeOf(uR"({"a name of some length":"a text of some length"})");
    return tree;
}

const U_XML_Element& Element()
{
    static const U_XML_Element element = [] {
        U_XML_Element made(kName, 7);
        made.SetBodyText(kName);
        made.SetAttribute(kName, kName);
        return made;
    }();
    return element;
}

// Each runs a change, after whose failure the object must be unchanged.

Operation OfVariant(const char* name, void (*change)(U_Any& value))
{
    return {name, kBadAlloc, [=](Own&) {
                U_Any value(7);
                RunOrLeaveIntact(
                    [&] { change(value); },
                    [&] { return value.GetType() == U_Any::kType_Int && value.GetAs_int() == 7; });
                return RightIf(value.GetAs_Str() == kText);
            }};
}

// Returns an operation that changes a copy of the tree to one of `size` children.
template <class Change> Operation OfTree(const char* name, std::size_t size, Change change)
{
    return {name, kBadAlloc, [=](Own&) {
                // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
                U_AnyTree copy(Tree());
                U_AnyTreeWrapper changed(copy);
                RunOrLeaveIntact([&] { change(changed); },
                                 [&] { return U_AnyTreeWrapper(copy).GetAs_JSON() == kJSON; });
                return RightIf(copy.size() == size);
            }};
}

Operation OfElement(const char* name, void (*change)(U_XML_Element& element))
{
    return {name, kBadAlloc, [=](Own&) {
                U_XML_Element element(kDigits, 1);
                const auto isUnchanged = [&] {
                    return element.GetName() == kDigits && element.GetType() == 1 &&
                           element.GetBodyText().empty() && element.GetNamespace().empty() &&
                           element.GetCDataSection().empty() &&
                           element.GetAttrsBegin() == element.GetAttrsEnd();
                };
                RunOrLeaveIntact([&] { change(element); }, isUnchanged);
                return RightIf(!isUnchanged());
            }};
}

Outcome Serialize(Own& own)
{
    std::string packet;
    try
    {
        zelboxmp::SetProperty(own.metadata, "http://purl.org/dc/elements/1.1/", "title",
                              "a title of some length");
        U_XMPMetaRef(own.metadata).Serialize(&packet);
    }
    catch (const XMP_Error& error)
    {
        const bool isWhole = error.code == U_i32(zelboxmp::kErrorNoMemory) && error.message;
        return isWhole ? kLess : kWrong;
    }
    return RightIf(packet.find("a title of some length") != std::string::npos);
}
} // namespace

Operations DataOperations()
{
    typedef U_AnyTreeWrapper& To;
    typedef U_XML_Element Node;
    return {
        OfVariant("U_Any::operator=", [](U_Any& value) { value = kVariant; }),
        OfVariant("U_Any::SetFrom_JSON", [](U_Any& value) { value.SetFrom_JSON(kLiteral); }),
        {"U_Any::GetAs_MBStr", kBadAlloc,
         [](Own&) { return RightIf(kVariant.GetAs_MBStr() == "a text of some length"); }},
        {"the number in a text", kBadAlloc,
         [](Own&) {
             const U_Any text(Units(u"-1234567890123456.5"));
             return RightIf(text.IsNumeric() && text.GetAs_double() == -1234567890123456.5 &&
                            text.GetAs_Enum() == -1234567890123456 && text.GetAs_bool());
         }},
        {"U_AnyTranslator", kBadAlloc,
         [](Own&) {
             U_AnyTranslator to;
             const auto held = boost::any_cast<U_Any>(*to.get_value(kVariant));
             return RightIf(to.put_value(kText)->GetAs_Str() == held.GetAs_Str());
         }},
        {"get_child_any", kBadAlloc,
         [](Own&) {
             return RightIf(U_AnyTreeWrapper(Tree()).get_child_any(kKey).GetAs_Str() == kText);
         }},
        {"U_AnyTreeWrapper::SetFrom_JSON", kBadAlloc,
         [](Own&) {
             U_AnyTree read;
             U_AnyTreeWrapper(read).SetFrom_JSON(kJSON);
             return RightIf(U_AnyTreeWrapper(read).GetAs_JSON() == kJSON);
         }},
        OfTree("push_back of a tree", 4, [](To to) { to.push_back(kOther, Tree()); }),
        OfTree("push_back", 4, [](To to) { to.push_back(kOther, kKey); }),
        OfTree("put of a tree", 3, [](To to) { to.put(kKey, Tree()); }),
        OfTree("put", 3, [](To to) { to.put(kKey, kOther); }),
        OfTree("put under a narrow key", 4,
               [](To to) { to.put("a narrow key of its own", kOther); }),
        OfTree("put_self", 3, [](To to) { to.put_self(kOther); }),
        {"U_AnyTreeWrapper::GetAs_Str", kBadAlloc,
         [](Own&) {
             return RightIf(U_AnyTreeWrapper(Flat()).GetAs_Str() ==
                            Units(u"a name of some length: a text of some length\n"));
         }},
        {"U_AnyTreeWrapper::CreateReverseMapping", kBadAlloc,
         [](Own&) {
             const U_AnyTree mapping = U_AnyTreeWrapper(Flat()).CreateReverseMapping();
             return RightIf(U_AnyTreeWrapper(mapping).exists(kText));
         }},
        OfElement("U_XML_Element::SetNamespace", [](Node& to) { to.SetNamespace(kName); }),
        OfElement("U_XML_Element::SetCDataSection", [](Node& to) { to.SetCDataSection(kName); }),
        OfElement("U_XML_Element::SetAttribute", [](Node& to) { to.SetAttribute(kName, kName); }),
        OfElement("U_XML_Element::SetAttributeBool", // calls SetAttributeLong
                  [](Node& to) { to.SetAttributeBool(kLong, true); }),
        {"U_XML_Element::GetAttributeValueBool", kBadAlloc,
         [](Own&) {
             bool flag = true; // not a number, so false
             return RightIf(Element().GetAttributeValueBool(kLong, &flag, false) && !flag);
         }},
        OfElement("U_XML_Element::operator=", [](Node& element) { element = Element(); }),
        {"new U_XML_Element", kBadAlloc,
         [](Own&) {
             delete new U_XML_Element(kName, 7);
             return kRight;
         }},
        {"a missing attribute", kBadAlloc,
         [](Own&) {
             int number = 9;
             const bool found = U_XML_Element().GetAttributeValueLong("a number under some name",
                                                                      &number, false, true);
             return RightIf(!found && number == 0);
         }},
        {"illegal characters", kBadAlloc | kThrown4,
         [](Own&) {
             return RightIf(U_EscapeBodyTextToSafeXML(kIllegal, true, false).size() ==
                            kIllegal.size() - 2);
         }},
        {"escapes and back", kBadAlloc,
         [](Own&) {
             const U_UTF8String body = U_EscapeBodyTextToSafeXML(kMarkup, false, false);
             const U_UTF8String value = U_EscapeAttributeValueToSafeXML(kMarkup, false, false);
             return RightIf(body != value && U_UnEscapeXMLBodyText(body) == kMarkup &&
                            U_UnEscapeXMLAttributeValue(value) == kMarkup);
         }},
        {"U_BinaryDataToUTF8String", kBadAlloc,
         [](Own&) {
             const U_u8 kBytes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
             return RightIf(U_BinaryDataToUTF8String(10, kBytes) == kDigits);
         }},
        {"U_UTF8StringToBinaryData", kThrown4,
         [](Own&) {
             U_ScAutoArray<unsigned char> data;
             U_UTF8StringToBinaryData(kDigits, &data);
             return RightIf(data.Count() == 10 && data.Get()[9] == 9);
         }},
        {"U_XMPMetaRef::Serialize", kLess | kBadAlloc, &Serialize},
    };
}
