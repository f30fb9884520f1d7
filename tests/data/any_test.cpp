// Variants and trees of variants.

#include "U_Any.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <gmock/gmock.h>

#include <krobase/json.h>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "tests/data/Trees.h"

namespace
{
const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const U_i64 kLeast = std::numeric_limits<U_i64>::min();
const U_i64 kMost = std::numeric_limits<U_i64>::max();

// Returns the result of `ask`, or nothing if `ask` throws boost::bad_any_cast.
template <class Ask> auto Asked(Ask ask) -> std::optional<decltype(ask())>
{
    try
    {
        return ask();
    }
    catch (const boost::bad_any_cast& failure)
    {
        EXPECT_STREQ(failure.what(),
                     "boost::bad_any_cast: failed conversion using boost::any_cast");
        return std::nullopt;
    }
}

const std::optional<U_i64> kNoInt;
const std::optional<double> kNoDouble;
const std::optional<std::u16string_view> kNoText;

struct Row
{
    const char* name;
    U_Any any;
    U_Any::TypeEnum type;
    std::optional<U_i64> asInt;
    std::optional<double> asDouble;
    std::optional<std::u16string_view> asText;
    std::optional<std::u16string_view> asJSON;
    bool isNumeric;
};

// A number has the same text and JSON.
Row Number(const char* name, const U_Any& any, U_Any::TypeEnum type, U_i64 asInt, double asDouble,
           std::u16string_view text)
{
    return {name, any, type, asInt, asDouble, text, text, type != U_Any::kType_Bool};
}

// Integers of types from which no integer is read.
template <class Held> Row Unreadable(const char* name)
{
    const U_Any any = U_Any(boost::any(Held(1)));
    return {name, any, U_Any::kType_Int, kNoInt, kNoDouble, kNoText, kNoText, true};
}

void Check(const Row& row)
{
    SCOPED_TRACE(row.name);
    // Each conversion has a fresh copy, so that each has to infer the kind.
    EXPECT_EQ(U_Any(row.any).GetType(), row.type);
    EXPECT_EQ(Asked([any = row.any] { return any.GetAs_int(); }), row.asInt);
    EXPECT_EQ(Asked([any = row.any] { return any.GetAs_Enum(); }), row.asInt);
    EXPECT_EQ(Asked([any = row.any] { return any.GetAs_double(); }), row.asDouble);
    EXPECT_EQ(U_Any(row.any).IsNumeric(), row.isNumeric);
    const auto truth = Asked([any = row.any] { return any.GetAs_bool(); });
    EXPECT_EQ(truth, row.asInt ? std::optional<bool>(*row.asInt != 0) : std::nullopt);
    const auto text = Asked([any = row.any] { return any.GetAs_Str(); });
    EXPECT_EQ(text, row.asText ? std::make_optional(Units(*row.asText)) : std::nullopt);
    const auto json = Asked([any = row.any] { return any.GetAs_JSON(); });
    EXPECT_EQ(json, row.asJSON ? std::make_optional(Units(*row.asJSON)) : std::nullopt);
}

Row String(const char* text, U_i64 asInt, double asDouble, bool isNumeric,
           std::u16string_view units, std::u16string_view json)
{
    return {text, U_Any(text), U_Any::kType_MBString, asInt, asDouble, units, json, isNumeric};
}

class AnyTree : public testing::Test
{
protected:
    U_AnyTree mTree;
    U_AnyTreeWrapper mWrapper{mTree};
};
} // namespace

TEST(Any, ConvertsEachHeldType)
{
    const Row rows[] = {
        Number("nothing", U_Any(), U_Any::kType_Bool, 0, 0, u"false"),
        Number("true", U_Any(true), U_Any::kType_Bool, 1, 1, u"true"),
        Number("5", U_Any(5), U_Any::kType_Int, 5, 5, u"5"),
        Number("least", U_Any(kLeast), U_Any::kType_Int, kLeast, -0x1p63, u"-9223372036854775808"),
        Number("held int", U_Any(boost::any(-2)), U_Any::kType_Bool, -2, -2, u"true"),
        Number("held int 0", U_Any(boost::any(0)), U_Any::kType_Bool, 0, 0, u"false"),
        Number("held bool", U_Any(boost::any(true)), U_Any::kType_Bool, 1, 1, u"true"),
        Number("held i64", U_Any(boost::any(kLeast)), U_Any::kType_Int, kLeast, -0x1p63,
               u"-9223372036854775808"),
        Number("held short", U_Any(boost::any(short(-3))), U_Any::kType_Int, -3, -3, u"-3"),
        Number("held long", U_Any(boost::any(4L)), U_Any::kType_Int, 4, 4, u"4"),
        Unreadable<unsigned short>("held unsigned short"),
        Unreadable<unsigned int>("held unsigned int"),
        Unreadable<unsigned long>("held unsigned long"),
        Unreadable<U_u64>("held u64"),
        {"held float", U_Any(boost::any(1.5f)), U_Any::kType_Double, kNoInt, kNoDouble, kNoText,
         kNoText, true},
        {"void*", U_Any(boost::any(static_cast<void*>(nullptr))), U_Any::kType_Null, 0, 0, u"",
         u"null", false},
        {"empty", U_Any(boost::any()), U_Any::kType_None, 0, 0, u"", u"", false},
        {"unknown", U_Any(boost::any('x')), U_Any::kType_None, 0, 0, u"", u"", false},
        {"tree", U_Any(boost::any(U_AnyTree())), U_Any::kType_Tree, 0, 0, u"<tree>", u"", false},
    };
    for (const Row& row : rows)
        Check(row);
}

TEST(Any, WritesAWholeDoubleAsADoubleAndCutsItTowardZero)
{
    const std::tuple<double, U_i64, std::u16string_view> rows[] = {
        {2.7, 2, u"2.7"},
        {-2.7, -2, u"-2.7"},
        {0.0, 0, u"0.0"},
        {-0.0, 0, u"0.0"},
        {1e15, 1000000000000000, u"1000000000000000.0"},
        {0.1234567891, 0, u"0.123456789"},
        {-1e-10, 0, u"-0"},
        {2.00000000001, 2, u"2"},
        {1e40, kMost, u"1e+40.0"},
        {0x1p63, kMost, u"9223372036854775808.0"},
        {-0x1p63, kLeast, u"-9223372036854775808.0"},
        {kInfinity, kMost, u"inf.0"},
        {-kInfinity, kLeast, u"-inf.0"},
        {kNaN, 0, u"nan"},
    };
    for (const auto& [value, asInt, text] : rows)
    {
        SCOPED_TRACE(value);
        const U_Any any(value);
        EXPECT_EQ(any.GetAs_int(), asInt);
        EXPECT_EQ(any.GetAs_Str(), Units(text));
        EXPECT_EQ(any.GetAs_JSON(), Units(text));
    }
}

TEST(Any, ReadsTextForgivingly)
{
    const Row rows[] = {
        String("", 0, 0, false, u"", u"\"\""),
        String("12", 12, 12, true, u"12", u"\"12\""),
        String("12abc", 12, 12, false, u"12abc", u"\"12abc\""),
        String("-2.75", -2, -2.75, true, u"-2.75", u"\"-2.75\""),
        String("1-2,3", 1, 1, true, u"1-2,3", u"\"1-2,3\""),
        String("1e5", 100000, 1e5, false, u"1e5", u"\"1e5\""),
        String("TRUE", 1, 0, false, u"TRUE", u"\"TRUE\""),
        String("True", 0, 0, false, u"True", u"\"True\""),
        String("FALSE", 0, 0, false, u"FALSE", u"\"FALSE\""),
        String("true ", 0, 0, false, u"true ", u"\"true \""),
        String("caf\xE9 \"\\", 0, 0, false, u"caf\u00E9 \"\\", u"\"caf\u00E9 \\\"\\\\\""),
    };
    for (const Row& row : rows)
    {
        Check(row);
        // The same text in UTF-16 is the same value of another kind.
        Row wide = row;
        wide.any = U_Any(row.any.GetAs_Str());
        wide.type = U_Any::kType_String;
        Check(wide);
    }
    const std::string digits(10000, '7');
    EXPECT_EQ(U_Any(digits).GetAs_int(), kMost);
    EXPECT_EQ(U_Any(digits).GetAs_double(), kInfinity);
    EXPECT_EQ(U_Any("-" + digits).GetAs_int(), kLeast);
}

TEST(Any, NarrowTextIsOfTheActiveCodePage)
{
    EXPECT_EQ(U_Any(Units(u"caf\u00E9")).GetAs_MBStr(), "caf\xE9");
    EXPECT_EQ(U_Any(3.5).GetAs_MBStr(), "3.5");
    ScActiveCodePage japanese(932);
    EXPECT_EQ(U_Any("\x93\xFA").GetAs_Str(), Units(u"\u65E5"));
    EXPECT_EQ(U_Any(Units(u"\u65E5")).GetAs_MBStr(), "\x93\xFA");
}

TEST(Any, SetFromJSONReadsAStringLiteralOnly)
{
    const std::tuple<std::u16string_view, std::u16string_view> good[] = {
        {u"\"\"", u""},
        {u"\"plain\"", u"plain"},
        {u" \t\r\n\"blanks around\"\n", u"blanks around"},
        {u"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00E9\\ud83d\\ude00\"",
         u"\"\\/\b\f\n\r\t\u00E9\U0001F600"},
        {u"\"\U0001F600\"", u"\U0001F600"},
        {u"\"half \xD83D of a pair\"", u"half \uFFFD of a pair"},
    };
    for (const auto& [json, text] : good)
    {
        U_Any any(1);
        any.SetFrom_JSON(Units(json));
        EXPECT_EQ(any.GetType(), U_Any::kType_String);
        EXPECT_EQ(any.GetAs_Str(), Units(text));
    }

    U_UTF16String withZero = Units(u"\"a?b\"");
    withZero[2] = 0;
    const U_UTF16String bad[] = {
        Units(u"12"),
        Units(u"null"),
        Units(u"\""),
        Units(u"\"two\" \"three\""),
        Units(u"\"a\"b\""),
        Units(u"\"cut \\"),
        Units(u"\"cut \\u12\""),
        Units(u"\"\\x\""),
        Units(u"\"\\ud83d\""),
        Units(u"\"a line\nbreak\""),
        withZero,
        U_UTF16String(100000, '['),
    };
    for (const U_UTF16String& json : bad)
    {
        U_Any any(7);
        EXPECT_THROW(any.SetFrom_JSON(json), boost::bad_any_cast);
        EXPECT_EQ(any.GetType(), U_Any::kType_Int);
        EXPECT_EQ(any.GetAs_int(), 7);
    }
}

TEST(Any, EachUnitSurvivesJSONButHalvesOfPairs)
{
    for (unsigned int unit = 0; unit < 0x10000; ++unit)
    {
        const bool isHalf = unit >= 0xD800 && unit < 0xE000;
        const U_UTF16String text = {'a', static_cast<U_u16>(unit), 'b'};
        const U_UTF16String json = U_Any(text).GetAs_JSON();
        U_Any any;
        any.SetFrom_JSON(json);
        const U_UTF16String expected = {'a', static_cast<U_u16>(isHalf ? 0xFFFD : unit), 'b'};
        ASSERT_EQ(any.GetAs_Str(), expected) << unit;
        ASSERT_GE(*std::min_element(json.begin(), json.end()), 0x20) << unit;
        ASSERT_EQ(json, krobase::serialization::GetJSONString(U_UTF16To8String(text), false))
            << unit;
    }
}

TEST(Any, IsClonedByACopyAndLeftWithoutAValueByAMove)
{
    U_Any text(Units(u"text"));
    U_Any copy(text);
    copy.SetFrom_JSON(Units(u"\"changed\""));
    EXPECT_EQ(text.GetAs_Str(), Units(u"text"));
    U_Any moved(std::move(text));
    U_Any assigned(7);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.GetAs_Str(), Units(u"text"));
    U_Any number(2.5);
    U_Any taken(std::move(number));
    U_Any self(taken);
    self = static_cast<const U_Any&>(self);
    EXPECT_EQ(self.GetAs_double(), 2.5);
    self = std::move(assigned); // a text in the place of a number, and back
    EXPECT_EQ(self.GetAs_Str(), Units(u"text"));
    self = taken;
    EXPECT_EQ(self.GetAs_double(), 2.5);
    EXPECT_EQ(taken.GetType(), U_Any::kType_Double);
    for (const U_Any* left : {&text, &moved, &number, &assigned})
    {
        EXPECT_EQ(left->GetType(), U_Any::kType_None);
        EXPECT_EQ(left->GetAs_Str(), U_UTF16String());
        EXPECT_EQ(left->GetAs_int(), 0);
    }
}

TEST(Any, TranslatorPutsAnythingAndGetsTheWholeVariant)
{
    U_AnyTree tree;
    tree.put(U_AnyTree::path_type(Units(u"key")), boost::any(1.5));
    const auto held = tree.get<boost::any>(U_AnyTree::path_type(Units(u"key")));
    EXPECT_EQ(boost::any_cast<const U_Any&>(held).GetAs_double(), 1.5);
}

TEST_F(AnyTree, PutReplacesInPlaceAndPushBackAppends)
{
    mWrapper.put("a", 1);
    mWrapper.put("b", Units(u"x"));
    mWrapper.put("a", 2.5);
    EXPECT_EQ(Describe(mTree), "a:d2.5 b:sx");
    mWrapper.push_back(Units(u"a"), true);
    mWrapper.put("a", "first of two");
    EXPECT_EQ(Describe(mTree), "a:mfirst of two b:sx a:btrue");
    mWrapper.put("a", TreeOf(u"{\"n\":1}"));
    EXPECT_EQ(Describe(mTree), "b:sx a:t(n:i1)");
    mWrapper.put("a", 3); // keeps the children
    EXPECT_EQ(Describe(mTree), "b:sx a:i3(n:i1)");
    mWrapper.erase(Units(u"a"));
    mWrapper.erase(Units(u"nobody"));
    EXPECT_EQ(Describe(mTree), "b:sx");
}

TEST_F(AnyTree, DottedKeyIsOneNameButNoPath)
{
    const U_UTF16String dotted = Units(u"a.b");
    mWrapper.put(dotted, 1);
    mWrapper.put("c", 2);
    mWrapper.put(dotted, 3);
    EXPECT_EQ(Describe(mTree), "c:i2 a.b:i3");
    EXPECT_TRUE(mWrapper.exists(dotted));
    EXPECT_THROW(mWrapper.get_child_any(dotted), boost::property_tree::ptree_bad_path);
    EXPECT_EQ(mWrapper.get_child_tree(dotted).get_self().GetAs_int(), 3);
}

TEST_F(AnyTree, EmptyKeyPutsTheNodeItselfAndPushesElements)
{
    EXPECT_TRUE(mWrapper.is_array());
    mWrapper.put("", 7);
    EXPECT_TRUE(mWrapper.empty());
    EXPECT_EQ(mWrapper.get_self().GetAs_int(), 7);
    mWrapper.put_self("own");
    mWrapper.put(1);
    mWrapper.put(TreeOf(u"{\"n\":1}"));
    mWrapper.put(U_UTF16String(), TreeOf(u"{\"m\":1}")); // in the place of all elements
    EXPECT_EQ(Describe(mTree), ":t(m:i1)");
    EXPECT_EQ(mWrapper.get_self().GetAs_MBStr(), "own");
    EXPECT_TRUE(mWrapper.is_array());
    mWrapper.put("named", 1);
    EXPECT_FALSE(mWrapper.is_array());
}

TEST_F(AnyTree, PutReadsItsArgumentsFromTheChildThatItErases)
{
    mWrapper.SetFrom_JSON(Units(u"{\"a\":{\"b\":{\"c\":1}},\"d.e\":5}"));
    const auto a = mTree.find(Units(u"a"));
    mWrapper.put(a->first, a->second.front().second);
    EXPECT_EQ(Describe(mTree), "d.e:i5 a:t(c:i1)");
    const auto dotted = mTree.find(Units(u"d.e"));
    mWrapper.put(dotted->first, dotted->second.data());
    EXPECT_EQ(Describe(mTree), "a:t(c:i1) d.e:i5");
    mWrapper.push_back(Units(u"self"), mTree);
    EXPECT_EQ(Describe(mTree), "a:t(c:i1) d.e:i5 self:t(a:t(c:i1) d.e:i5)");
    mTree.clear();
    mWrapper.put("a", U_AnyTree());
    mWrapper.get_child_tree(Units(u"a")).put("{\"a\":{\"text\":\"goes\"},\"c\":2}", 1);
    mWrapper.SetFrom_JSON(mTree.front().second.front().first);
    EXPECT_EQ(Describe(mTree), "a:t(text:sgoes) c:i2");
}

TEST_F(AnyTree, ChildrenAreReachedByKeyOrPath)
{
    mWrapper.SetFrom_JSON(Units(u"{\"a\":{\"b\":1},\"c\":2}"));
    const U_AnyTreeWrapper constant = mWrapper;
    EXPECT_EQ(constant.get_child_any(Units(u"a.b")).GetAs_int(), 1);
    EXPECT_EQ(constant.get_child_tree(Units(u"a")).get_child_any(Units(u"b")).GetAs_int(), 1);
    mWrapper.get_child_tree(Units(u"a")).put("b", 5);
    mWrapper.get_child_any(Units(u"c")) = U_Any(false);
    EXPECT_EQ(Describe(mTree), "a:t(b:i5) c:bfalse");
    EXPECT_FALSE(mWrapper.exists(Units(u"a.b")));
    EXPECT_THROW(mWrapper.get_child_tree(Units(u"a.b")), boost::bad_any_cast);
    EXPECT_THAT([&] { constant.get_child_any(Units(u"a.x")); },
                testing::ThrowsMessage<boost::property_tree::ptree_bad_path>(
                    "No such node (<undumpable sequence>)"));
}

TEST_F(AnyTree, ValueThatIsNoTextLeavesTheTreeAsItWas)
{
    mWrapper.put("c", U_Any(boost::any(7u))); // kType_Int, held as an unsigned int
    EXPECT_THROW(mWrapper.GetAs_JSON(), boost::bad_any_cast);
    EXPECT_THROW(mWrapper.GetAs_Str(), boost::bad_any_cast);
    EXPECT_THROW(mWrapper.CreateReverseMapping(), boost::bad_any_cast);
    EXPECT_EQ(mTree.size(), 1u);
}

TEST_F(AnyTree, DumpForPeopleIndentsByTabs)
{
    mWrapper.SetFrom_JSON(Units(u"{\"a\":{\"b\":[1,\"x\"]},\"c\":2.0}"));
    EXPECT_EQ(mWrapper.GetAs_Str(), Units(u"a: <tree>\n\tb: <tree>\n\t\t: 1\n\t\t: x\nc: 2.0\n"));
}

TEST_F(AnyTree, ReverseMappingTakesValuesForPathsWithDotsAnywhere)
{
    mWrapper.SetFrom_JSON(
        Units(u"{\"one\":\"x.y\",\"two\":1,\"three\":1,\"four\":{\"five\":6},\"none\":\"\"}"));
    const U_AnyTree mapping = mWrapper.CreateReverseMapping();
    EXPECT_EQ(Describe(mapping), "x:bfalse(y:sone) 1:sthree <tree>:sfour");
    EXPECT_EQ(mapping.data().GetAs_MBStr(), "none");

    mTree.clear();
    mWrapper.SetFrom_JSON(Units(u"{\"1\":\"x.\",\"2\":\".\",\"3\":\"a..b\",\"4\":\".y\"}"));
    EXPECT_EQ(Describe(mWrapper.CreateReverseMapping()), "x:s1 :s2(y:s4) a:bfalse(:bfalse(b:s3))");

    mWrapper.put("1", U_UTF16String(U_MostJSONDepth - 1, '.'));
    EXPECT_EQ(mWrapper.CreateReverseMapping().size(), 2u);
    for (const std::size_t dots : {std::size_t(U_MostJSONDepth), std::size_t(100000)})
    {
        mWrapper.put("1", U_UTF16String(dots, '.'));
        EXPECT_THROW(mWrapper.CreateReverseMapping(), boost::property_tree::ptree_error);
    }
}
