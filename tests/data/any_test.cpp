// Variants and trees of variants.

#include "U_Any.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <tuple>

#include <gmock/gmock.h>

#include <krobase/json.h>

#include "U_AnyTree.h"
#include "tests/data/Trees.h"

namespace
{
template <class Held> void ExpectUnreadable()
{
    const U_Any any = U_Any(boost::any(Held(1)));
    EXPECT_EQ(any.GetType(), U_Any::kType_Int);
    EXPECT_THROW(any.GetAs_int(), boost::bad_any_cast);
    EXPECT_THROW(any.GetAs_Str(), boost::bad_any_cast);
}

class AnyTree : public testing::Test
{
protected:
    U_AnyTree mTree;
    U_AnyTreeWrapper mWrapper{mTree};
};
} // namespace

TEST(Any, TextsAndTypesOutsideOfTheModelConvert)
{
    ExpectUnreadable<unsigned short>();
    ExpectUnreadable<unsigned long>();
    ExpectUnreadable<U_u64>();
    EXPECT_EQ(U_Any(boost::any(4L)).GetAs_int(), 4);
    EXPECT_EQ(U_Any(boost::any(true)).GetAs_Str(), Units(u"true"));
    EXPECT_EQ(U_Any(boost::any(2.5)).GetType(), U_Any::kType_Double);
    EXPECT_EQ(U_Any(boost::any(2.5)).GetAs_double(), 2.5);
    EXPECT_EQ(U_Any(boost::any(std::numeric_limits<U_i64>::min())).GetAs_Str(),
              Units(u"-9223372036854775808"));
    const std::string digits(10000, '7');
    EXPECT_EQ(U_Any("-" + digits).GetAs_int(), std::numeric_limits<U_i64>::min());
    EXPECT_EQ(U_Any(digits).GetAs_double(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(U_Any("true ").GetAs_int(), 0);
    const ScActiveCodePage japanese(932);
    EXPECT_EQ(U_Any("\x93\xFA").GetAs_Str(), Units(u"\u65E5"));
    EXPECT_EQ(U_Any(Units(u"\u65E5")).GetAs_MBStr(), "\x93\xFA");
}

TEST(Any, SetFromJSONReadsAStringLiteralOnly)
{
    const std::tuple<std::u16string_view, std::u16string_view> good[] = {
        {u" \t\r\n\"blanks around\"\n", u"blanks around"},
        {u"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00E9\\ud83d\\ude00\"",
         u"\"\\/\b\f\n\r\t\u00E9\U0001F600"},
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
        Units(u"\"two\" \"three\""),
        Units(u"\"a\"b\""),
        Units(u"x\""),
        Units(u"\"cut \\"),
        Units(u"\"cut \\u12\""),
        Units(u"\"\\x\""),
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

TEST_F(AnyTree, ValueThatIsNoTextLeavesTheTreeAsItWas)
{
    mWrapper.put("c", U_Any(boost::any(7u))); // kType_Int, held as an unsigned int
    EXPECT_THROW(mWrapper.GetAs_JSON(), boost::bad_any_cast);
    EXPECT_THROW(mWrapper.GetAs_Str(), boost::bad_any_cast);
    EXPECT_THROW(mWrapper.CreateReverseMapping(), boost::bad_any_cast);
    EXPECT_EQ(mTree.size(), 1u);
}

TEST_F(AnyTree, APathOfAReverseMappingHasALimit)
{
    mWrapper.put("1", U_UTF16String(U_MostJSONDepth - 1, '.'));
    EXPECT_EQ(mWrapper.CreateReverseMapping().size(), 1u);
    for (const std::size_t dots : {std::size_t(U_MostJSONDepth), std::size_t(100000)})
    {
        mWrapper.put("1", U_UTF16String(dots, '.'));
        EXPECT_THROW(mWrapper.CreateReverseMapping(), boost::property_tree::ptree_error);
    }
}
