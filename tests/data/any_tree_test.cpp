#include "U_AnyTree.h"

#include <gtest/gtest.h>

#include "tests/data/Trees.h"

namespace
{
class AnyTree : public testing::Test
{
protected:
    U_AnyTree mTree;
    U_AnyTreeWrapper mWrapper{mTree};
};
} // namespace

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
    try
    {
        constant.get_child_any(Units(u"a.x"));
        ADD_FAILURE();
    }
    catch (const boost::property_tree::ptree_bad_path& failure)
    {
        EXPECT_STREQ(failure.what(), "No such node (<undumpable sequence>)");
    }
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
