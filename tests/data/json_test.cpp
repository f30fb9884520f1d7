// Trees as JSON and back.

#include "U_AnyTree.h"

#include <string_view>
#include <tuple>
#include <utility>

#include <boost/thread/thread.hpp>

#include "tests/data/Trees.h"
#include "tests/support/NoMemory.h"

namespace
{
U_UTF16String Repeated(std::u16string_view piece, std::size_t count)
{
    U_UTF16String text;
    for (; count; --count)
        text.append(piece.begin(), piece.end());
    return text;
}

std::u16string Digits(int number)
{
    const std::string digits = std::to_string(number);
    return std::u16string(digits.begin(), digits.end());
}

struct Row
{
    std::u16string_view json;
    const char* tree;
    const char* written; // null: the same as json
};

void ExpectRead(std::initializer_list<Row> rows)
{
    for (const Row& row : rows)
    {
        const std::string json(row.json.begin(), row.json.end());
        SCOPED_TRACE(json);
        U_AnyTree tree = TreeOf(row.json);
        EXPECT_EQ(Describe(tree), row.tree);
        EXPECT_EQ(Narrow(U_AnyTreeWrapper(tree).GetAs_JSON()), row.written ? row.written : json);
    }
}

} // namespace

TEST(JSON, MembersOfALargeObjectReplaceEachOtherAsThoseOfASmallOne)
{
    const int kMembers = 1500;
    U_AnyTree tree;
    U_AnyTreeWrapper wrapper(tree);
    for (int round = 0; round < 2; ++round)
    {
        std::u16string json = u"{";
        for (int i = 0; i < 2 * kMembers; ++i) // each key twice
            json += u"\"k" + Digits(i % kMembers) + u"\":" + Digits(i + round) + u",";
        json += u"\"k7\":{\"a\":1},\"k8\":[1],\"d.e\":1,\"d.e\":2}";
        wrapper.SetFrom_JSON(Units(json));

        std::string expected;
        for (int i = 0; i < kMembers; ++i)
        {
            if (i != 7 && i != 8)
                expected +=
                    "k" + std::to_string(i) + ":i" + std::to_string(i + kMembers + round) + " ";
        }
        EXPECT_EQ(Describe(tree), expected + "k7:t(a:i1) k8:t(:i1) d.e:i2") << round;
    }
}

TEST(JSON, ReadsForgivingly)
{
    ExpectRead({
        {u"", "", "{}"},
        {u"{\"a\":\"{[:,]}\",\"b\":[\"c:d\",\"e,f\"]}", "a:s{[:,]} b:t(:sc:d :se,f)", nullptr},
        {u"{\"a\\\\\":\"b\\\\\",\"c\\\"\":\"\\\\\\\"d\"}", "a\\:sb\\ c\":s\\\"d", nullptr},
        {u"{\"b\":1e3,\"c\":1.5e3}", "b:i1000 c:d1500.0", "{\"b\":1000,\"c\":1500.0}"},
        // Any first character counts as the brace.
        {u"[{\"a\":1},{\"b\":2}]", ":t(a:i1) :t(b:i2)", "{{\"a\":1},{\"b\":2}}"},
        {u"[[1],[2]]", ":t(:i1) :t(:i2)", "{[1],[2]}"},
        {u"[1,2]", "", "{}"},
        {u" {\"a\":1}", ":t(a:i1)", "{{\"a\":1}}"},
        // The digits up to another character are the number.
        {u"{\"a\":2\u0131,\"b\":1-2,\"c\":1.5.3,\"d\":1/2}", "a:i2 b:i1 c:d1.5 d:i1",
         "{\"a\":2,\"b\":1,\"c\":1.5,\"d\":1}"},
        // Words.
        {u"{\"a\":TRUE,\"b\":False,\"c\":+7,\"d\":.5}", "a:i1 b:i0 c:i7 d:d0.5",
         "{\"a\":1,\"b\":0,\"c\":7,\"d\":0.5}"},
        // Surplus commas, and brackets of the wrong kind.
        {u"{\"a\":1,,\"b\":2}", "a:i1 b:i2", "{\"a\":1,\"b\":2}"},
        {u"{\"a\":[1,,2,],\"b\":3}", "a:t(:i1 :i2) b:i3", "{\"a\":[1,2],\"b\":3}"},
        {u"{\"a\":[1,2},\"b\":3}", "a:t(:i1 :i2) b:i3", "{\"a\":[1,2],\"b\":3}"},
        {u"{\"a\":{\"b\":1],\"c\":2}", "a:t(b:i1) c:i2", "{\"a\":{\"b\":1},\"c\":2}"},
        // Text that fits no rule ends its level.
        {u"{\"a\":{\"b\":1} ,\"c\":2}", "a:t(b:i1)", "{\"a\":{\"b\":1}}"},
        {u"{\"a\":1,:2,\"c\":3}", "a:i1", "{\"a\":1}"},
        {u"{\"a\":1}, \"b\":2", "a:i1", "{\"a\":1}"},
    });
}

TEST(JSON, TextOfASkewedTreeTakesNoMoreMemoryThanItNeeds)
{
    for (const bool isFirstLarge : {true, false})
    {
        // One child of each level is large, the others are small.
        U_AnyTree skewed;
        U_UTF16String expected = Units(u"null");
        for (int level = 0; level < 5; ++level)
        {
            U_AnyTree above;
            U_AnyTreeWrapper wrapper(above);
            if (isFirstLarge)
                wrapper.put(skewed);
            for (int i = 0; i < 1000; ++i)
                wrapper.put(1);
            if (!isFirstLarge)
                wrapper.put(skewed);
            skewed.swap(above);
            const U_UTF16String large = expected;
            expected = Units(level == 4 ? u"{" : u"[");
            expected +=
                isFirstLarge ? large + Repeated(u",1", 1000) : Repeated(u"1,", 1000) + large;
            expected += Units(level == 4 ? u"}" : u"]");
        }
        const U_UTF16String text = U_AnyTreeWrapper(skewed).GetAs_JSON();
        EXPECT_EQ(text, expected);
        EXPECT_LE(text.capacity(), 2 * text.size() + 1);
    }
}

TEST(JSON, MembersBeforeABadLiteralStay)
{
    const std::tuple<std::u16string_view, const char*> rows[] = {
        {u"{\"a\":1,b:2}", "a:i1"},
        {u"{\"a\":1,\"b\":\"\\x\"}", "a:i1"},
        {u"{\"a\":1,\"b\":\"x\" y,\"c\":2}", "a:i1"},
        {u"{\"a\":1,\"\\ud83d\":2}", "a:i1"},
        {u"{\"a\":{\"x\":0},\"a\":{\"y\":1,\"z\":\"\\u00\"}}", "a:t(x:i0)"},
        {u"{\"a\":1,\"b\":\"never closed", "a:i1"},
        {u"{\"a\":1,\"b\":\"ends in \\", "a:i1"},
    };
    for (const auto& [json, read] : rows)
    {
        U_AnyTree tree;
        EXPECT_THROW(U_AnyTreeWrapper(tree).SetFrom_JSON(Units(json)), boost::bad_any_cast);
        EXPECT_EQ(Describe(tree), read);
    }
}

TEST(JSON, NestingHasALimitAndUpToItNeedsLittleStack)
{
    // Frames are larger under sanitizers, and those of a copy without optimisation.
#ifdef __OPTIMIZE__
    const std::size_t kOwnStack = 512 << 10;
#else
    const std::size_t kOwnStack = 1 << 20;
#endif
    const std::size_t kStack = MemoryCanBeLimited() ? kOwnStack : 8 << 20;
    const std::pair<std::u16string_view, std::size_t> rows[] = {
        {u"[", 1}, {u"{\"a\":", 1}, {u"{", 1}, {u"{\"a\":[", 2}};
    for (const auto& [opening, levels] : rows)
    {
        const U_UTF16String deepest = Repeated(opening, U_MostJSONDepth / levels);
        boost::thread::attributes attributes;
        attributes.set_stack_size(kStack);
        boost::thread(attributes, [&deepest] {
            U_AnyTree tree;
            U_AnyTreeWrapper(tree).SetFrom_JSON(deepest);
            EXPECT_EQ(tree.size(), 1u);
            EXPECT_GE(U_AnyTreeWrapper(tree).GetAs_JSON().size(), U_MostJSONDepth);
            const U_AnyTree copy(tree); // the end of the thread destroys both
            EXPECT_EQ(copy.size(), 1u);
        }).join();
        U_AnyTree tooDeep;
        EXPECT_THROW(
            U_AnyTreeWrapper(tooDeep).SetFrom_JSON(Repeated(opening, U_MostJSONDepth / levels + 1)),
            boost::property_tree::ptree_error);
        EXPECT_THROW(U_AnyTreeWrapper(tooDeep).SetFrom_JSON(Repeated(opening, 100000)),
                     boost::property_tree::ptree_error);
        EXPECT_TRUE(tooDeep.empty());
    }
}

TEST(JSON, TakesOddCharactersAndLongNumbers)
{
    U_UTF16String json = Units(u"{\"a\":1,\"b\":?7,\"c\":2}");
    json[json.find('?')] = 0;
    U_AnyTree tree;
    U_AnyTreeWrapper wrapper(tree);
    wrapper.SetFrom_JSON(json);
    EXPECT_EQ(Describe(tree), "a:i1 b:i0 c:i2");

    const U_UTF16String digits(10000, '9');
    wrapper.SetFrom_JSON(Units(u"{\"a\":") + digits + Units(u",\"b\":0.") + digits + Units(u"}"));
    EXPECT_EQ(Describe(tree), "a:i9223372036854775807 b:d1.0 c:i2");
}
