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
    const U_Any string(text);
    // Runs a change of a variant. After a failure the variant must be unchanged.
    const auto change = [&](auto body) {
        U_Any value(7);
        try
        {
            body(value);
        }
        catch (const std::bad_alloc&)
        {
            if (value.GetType() != U_Any::kType_Int || value.GetAs_int() != 7)
                return kWrong;
            throw;
        }
        return RightIf(value.GetAs_Str() == text);
    };
    Walk({
        {"U_Any::operator=", kBadAlloc,
         [&] { return change([&](U_Any& value) { value = string; }); }},
        {"U_Any::SetFrom_JSON", kBadAlloc,
         [&] { return change([&](U_Any& value) { value.SetFrom_JSON(literal); }); }},
    });
}

TEST_F(DataFaults, Trees)
{
    const U_UTF16String json = Units(kJSON);
    const U_UTF16String key = Units(u"a name of some length");
    const U_UTF16String other = Units(u"another name of some length");
    const U_AnyTree tree = TreeOf(kJSON);
    // Runs a change of a copy of the tree. After a failure the copy must be unchanged.
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
    });
}

TEST_F(DataFaults, XML)
{
    const U_UTF8String name = Bytes("a name of some length");
    const U_UTF8String digits = Bytes("00010203040506070809");
    const U_UTF8String illegal = Bytes("a text with \x01 and \x02 in it");
    U_XML_Element source(name, 7);
    source.SetBodyText(name);
    source.SetAttribute(name, name);
    // Runs a change of an element. After a failure the element must be unchanged.
    const auto change = [&](auto body) {
        U_XML_Element element(digits, 1);
        const auto isUnchanged = [&] {
            return element.GetName() == digits && element.GetType() == 1 &&
                   element.GetBodyText().empty() &&
                   element.GetAttrsBegin() == element.GetAttrsEnd();
        };
        try
        {
            body(element);
        }
        catch (const std::bad_alloc&)
        {
            if (!isUnchanged())
                return kWrong;
            throw;
        }
        return RightIf(!isUnchanged());
    };
    Walk({
        {"U_XML_Element::SetAttribute", kBadAlloc,
         [&] { return change([&](U_XML_Element& element) { element.SetAttribute(name, name); }); }},
        {"U_XML_Element::operator=", kBadAlloc,
         [&] { return change([&](U_XML_Element& element) { element = source; }); }},
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
        {"illegal characters", kBadAlloc | kThrown4,
         [&] {
             return RightIf(U_EscapeBodyTextToSafeXML(illegal, true, false).size() ==
                            illegal.size() - 2);
         }},
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
            const bool isWhole = error.code == U_i32(zelboxmp::kErrorNoMemory) && error.message;
            return isWhole ? kLess : kWrong;
        }
        return RightIf(packet.find("some title") != std::string::npos);
    };
    Walk({{"U_XMPMetaRef::Serialize", kLess | kBadAlloc, serialize}});
    zelboxmp::Ordinal6(metadata); // releases the reference
}
