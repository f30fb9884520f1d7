#include "U_Any.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <gtest/gtest.h>

#include "U_AnyTree.h"
#include "tests/support/Text.h"

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
} // namespace

TEST(Any, ConvertsNumbersOfEachHeldType)
{
    const Row rows[] = {
        Number("nothing", U_Any(), U_Any::kType_Bool, 0, 0, u"false"),
        Number("true", U_Any(true), U_Any::kType_Bool, 1, 1, u"true"),
        Number("5", U_Any(5), U_Any::kType_Int, 5, 5, u"5"),
        Number("least", U_Any(kLeast), U_Any::kType_Int, kLeast, -0x1p63, u"-9223372036854775808"),
        Number("held int", U_Any(boost::any(-2)), U_Any::kType_Bool, -2, -2, u"true"),
        Number("held int 0", U_Any(boost::any(0)), U_Any::kType_Bool, 0, 0, u"false"),
        Number("held short", U_Any(boost::any(short(-3))), U_Any::kType_Int, -3, -3, u"-3"),
        Number("held long", U_Any(boost::any(4L)), U_Any::kType_Int, 4, 4, u"4"),
        Unreadable<unsigned short>("held unsigned short"),
        Unreadable<unsigned int>("held unsigned int"),
        Unreadable<unsigned long>("held unsigned long"),
        Unreadable<U_u64>("held u64"),
        {"held float", U_Any(boost::any(1.5f)), U_Any::kType_Double, kNoInt, kNoDouble, kNoText,
         kNoText, true},
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

TEST(Any, ConvertsNoValueToNothing)
{
    const Row rows[] = {
        {"void*", U_Any(boost::any(static_cast<void*>(nullptr))), U_Any::kType_Null, 0, 0, u"",
         u"null", false},
        {"empty", U_Any(boost::any()), U_Any::kType_None, 0, 0, u"", u"", false},
        {"unknown", U_Any(boost::any('x')), U_Any::kType_None, 0, 0, u"", u"", false},
        {"tree", U_Any(boost::any(U_AnyTree())), U_Any::kType_Tree, 0, 0, u"<tree>", u"", false},
    };
    for (const Row& row : rows)
        Check(row);
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
    for (const U_Any* left : {&text, &moved})
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
