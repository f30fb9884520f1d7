// Variants, trees, XML and metadata, while allocations fail.

#include <new>

#include <zelboxmp/xmp.h>

#include "U_Any.h"
#include "U_AnyTree.h"
#include "U_XML.h"
#include "U_XMP.h"
#include "tests/data/Trees.h"
#include "tests/faults/Faults.h"
#include "tests/support/Text.h"

namespace
{
typedef Faults DataFaults;

const std::u16string_view kJSON =
    uR"({"a name of some length":"a text of some length","b":[{"c":1},{"d":2.5}],"e":true})";
} // namespace

TEST_F(DataFaults, Variants)
{
    const U_UTF16String text = Units(u"a text of some length");
    const U_UTF16String literal = Units(u"\"a text of some length\"");
    const std::string narrow = "a text of some length";
    const U_Any string(text);
    const U_Any number(1234567.25);
    Walk({
        {"U_Any(text)", kBadAlloc, [&] { return RightIf(U_Any(text).GetAs_Str() == text); }},
        {"U_Any(narrow)", kBadAlloc,
         [&] { return RightIf(U_Any(narrow).GetAs_MBStr() == narrow); }},
        {"U_Any(any)", kBadAlloc,
         [&] { return RightIf(U_Any(boost::any(narrow)).GetType() == U_Any::kType_MBString); }},
        {"U_Any::operator=", kBadAlloc,
         [&] {
             U_Any value(7);
             try
             {
                 value = string;
             }
             catch (const std::bad_alloc&)
             {
                 if (value.GetType() != U_Any::kType_Int || value.GetAs_int() != 7)
                     return kWrong;
                 throw;
             }
             return RightIf(value.GetAs_Str() == text);
         }},
        {"U_Any::GetAs_Str", kBadAlloc,
         [&] { return RightIf(Narrow(number.GetAs_Str()) == "1234567.25"); }},
        {"U_Any::GetAs_int", kBadAlloc,
         [] { return RightIf(U_Any("12345678901234567890123").GetAs_int() > 0); }},
        {"U_Any::GetAs_JSON", kBadAlloc, [&] { return RightIf(string.GetAs_JSON() == literal); }},
        {"U_Any::SetFrom_JSON", kBadAlloc,
         [&] {
             U_Any value(7);
             try
             {
                 value.SetFrom_JSON(literal);
             }
             catch (const std::bad_alloc&)
             {
                 if (value.GetType() != U_Any::kType_Int || value.GetAs_int() != 7)
                     return kWrong;
                 throw;
             }
             return RightIf(value.GetAs_Str() == text);
         }},
        {"U_AnyTranslator", kBadAlloc,
         [&] {
             return RightIf(U_AnyTranslator().put_value(boost::any(text))->GetAs_Str() == text);
         }},
    });
}

TEST_F(DataFaults, Trees)
{
    const U_UTF16String json = Units(kJSON);
    const U_UTF16String key = Units(u"a name of some length");
    const U_UTF16String other = Units(u"another name of some length");
    const U_AnyTree tree = TreeOf(kJSON);
    const U_AnyTreeWrapper wrapper(tree);
    // A change of a copy, which is either as it was or changed.
    const auto change = [&](auto body, std::size_t size) {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
        U_AnyTree copy(tree);
        U_AnyTreeWrapper changed(copy);
        try
        {
            body(changed);
        }
        catch (const std::bad_alloc&)
        {
            if (U_AnyTreeWrapper(copy).GetAs_JSON() != json)
                return kWrong;
            throw;
        }
        return RightIf(copy.size() == size);
    };
    Walk({
        {"U_AnyTreeWrapper::SetFrom_JSON", kBadAlloc,
         [&] {
             U_AnyTree read;
             U_AnyTreeWrapper(read).SetFrom_JSON(json);
             return RightIf(U_AnyTreeWrapper(read).GetAs_JSON() == json);
         }},
        {"U_AnyTreeWrapper::GetAs_JSON", kBadAlloc,
         [&] { return RightIf(wrapper.GetAs_JSON() == json); }},
        {"U_AnyTreeWrapper::GetAs_Str", kBadAlloc,
         [&] { return RightIf(wrapper.GetAs_Str().size() > 50); }},
        {"U_AnyTreeWrapper::push_back of a tree", kBadAlloc,
         [&] { return change([&](U_AnyTreeWrapper& to) { to.push_back(other, tree); }, 4); }},
        {"U_AnyTreeWrapper::push_back", kBadAlloc,
         [&] { return change([&](U_AnyTreeWrapper& to) { to.push_back(other, key); }, 4); }},
        {"U_AnyTreeWrapper::put of a tree", kBadAlloc,
         [&] { return change([&](U_AnyTreeWrapper& to) { to.put(key, tree); }, 3); }},
        {"U_AnyTreeWrapper::put", kBadAlloc,
         [&] { return change([&](U_AnyTreeWrapper& to) { to.put(key, other); }, 3); }},
        {"U_AnyTreeWrapper::put under a narrow key", kBadAlloc,
         [&] {
             return change([&](U_AnyTreeWrapper& to) { to.put("a narrow key of its own", other); },
                           4);
         }},
        {"U_AnyTreeWrapper::put_self", kBadAlloc,
         [&] { return change([&](U_AnyTreeWrapper& to) { to.put_self(other); }, 3); }},
        {"U_AnyTreeWrapper::CreateReverseMapping", kBadAlloc,
         [&] { return RightIf(!wrapper.CreateReverseMapping().empty()); }},
    });
}

TEST_F(DataFaults, XML)
{
    const U_UTF8String name = Bytes("a name of some length");
    const U_UTF8String raw = Bytes("a <text> & \"more\" of some length");
    const U_UTF8String escaped = U_EscapeAttributeValueToSafeXML(raw, false, false);
    const U_UTF8String body = U_EscapeBodyTextToSafeXML(raw, false, false);
    const U_UTF8String illegal = Bytes("a text with \x01 and \x02 in it");
    const U_UTF8String digits = Bytes("00010203040506070809");
    const unsigned char bytes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    Walk({
        {"U_XML_Element", kBadAlloc,
         [&] {
             U_XML_Element element(name, 7);
             element.SetNamespace(name);
             element.SetBodyText(raw);
             element.SetCDataSection(raw);
             element.SetAttribute(name, raw);
             element.SetAttribute("an attribute of some length", raw);
             element.SetAttributeLong("a number under some name", -1, false);
             element.SetAttributeBool("a bool under a long name", true);
             U_XML_Element copy;
             copy = element;
             U_UTF8String value;
             int number = 0;
             bool isSet = false;
             copy.GetAttributeValue(name, &value, true);
             copy.GetAttributeValueLong("a number under some name", &number, false, true);
             copy.GetAttributeValueBool("a bool under a long name", &isSet, false);
             return RightIf(copy.GetBodyText() == raw && copy.GetName() == name && value == raw &&
                            number == -1 && isSet);
         }},
        {"new U_XML_Element", kBadAlloc,
         [&] {
             delete new U_XML_Element(name, 7);
             return kRight;
         }},
        {"a missing attribute", kBadAlloc,
         [&] {
             int number = 9;
             const bool found = U_XML_Element().GetAttributeValueLong("a number under some name",
                                                                      &number, false, true);
             return RightIf(!found && number == 0);
         }},
        {"U_EscapeAttributeValueToSafeXML", kBadAlloc,
         [&] { return RightIf(U_EscapeAttributeValueToSafeXML(raw, false, false) == escaped); }},
        {"U_EscapeBodyTextToSafeXML", kBadAlloc,
         [&] { return RightIf(U_EscapeBodyTextToSafeXML(raw, false, false) == body); }},
        {"illegal characters", kBadAlloc | kThrown4,
         [&] {
             return RightIf(U_EscapeBodyTextToSafeXML(illegal, true, false).size() ==
                            illegal.size() - 2);
         }},
        {"U_UnEscapeXMLAttributeValue", kBadAlloc,
         [&] { return RightIf(U_UnEscapeXMLAttributeValue(escaped) == raw); }},
        {"U_UnEscapeXMLBodyText", kBadAlloc,
         [&] { return RightIf(U_UnEscapeXMLBodyText(body) == raw); }},
        {"U_BinaryDataToUTF8String", kBadAlloc,
         [&] { return RightIf(U_BinaryDataToUTF8String(sizeof(bytes), bytes) == digits); }},
        {"U_UTF8StringToBinaryData", kThrown4,
         [&] {
             U_ScAutoArray<unsigned char> data;
             U_UTF8StringToBinaryData(digits, &data);
             return RightIf(data.Count() == 10 && data.Get()[9] == 9);
         }},
    });
}

TEST_F(DataFaults, Metadata)
{
    __XMPMeta__* const metadata = zelboxmp::NewMetadata();
    zelboxmp::SetProperty(metadata, "http://purl.org/dc/elements/1.1/", "title", "some title");
    const auto serialize = [&] {
        std::string packet;
        try
        {
            U_XMPMetaRef(metadata).Serialize(&packet);
        }
        catch (const XMP_Error& error)
        {
            return RightIf(error.code == static_cast<U_i32>(zelboxmp::kErrorNoMemory) &&
                               error.message,
                           kWrong) == kRight
                       ? kLess
                       : kWrong;
        }
        return RightIf(packet.find("some title") != std::string::npos);
    };
    Walk({{"U_XMPMetaRef::Serialize", kLess | kBadAlloc, serialize}});
    zelboxmp::Ordinal6(metadata); // which lets go of it
}
