// Trees by path, and JSON with empty objects and arrays.

#include <u/cpp/trees.h>

#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include "tests/adapters/Thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
// U_Any's narrow text is in the active code page, so the library is born.
typedef BornLibrary CppTrees;

// Puts an integer at a path of a tree, and returns the tree's JSON.
std::string Put(const char* json, const char* path)
{
    U_AnyTree tree = U::cpp::FromJSON(json);
    U::cpp::PutPath(tree, path, 7);
    return U::cpp::ToJSON(tree);
}
} // namespace

TEST_F(CppTrees, JSONComesBackAsItWas)
{
    const char* const kTexts[] = {
        "{}",
        "[]",
        R"({"a":{}})",
        R"({"a":[]})",
        R"({"a":[{},[],[[]],{"b":[]}],"c":{"d":{}}})",
        R"([1,2,"x"])",
        R"([[]])",
        R"({"a":1,"b":[true,false],"c":2.5,"d":"[]","e":"\"[ ]{}\\"})",
        "{\"\xC3\xA9\":\"\xF0\x9F\x8E\xB5\"}",
        // Strings like the mark of an empty array.
        "[\"\xEF\xB7\x90\"]",
        "[\"\xEF\xB7\x90\",[],\"\xEF\xB7\x90\"]",
        "{\"a\":[\"\xEF\xB7\x90\xEF\xB7\x90\"],\"b\":\"\xEF\xB7\x90\",\"\xEF\xB7\x90\":[]}",
    };
    for (const char* text : kTexts)
    {
        EXPECT_EQ(U::cpp::ToJSON(U::cpp::FromJSON(text)), text);
        const std::string spaced = " \n" + std::string(text) + "\t";
        EXPECT_EQ(U::cpp::ToJSON(U::cpp::FromJSON(spaced)), text);
    }
    const std::pair<const char*, const char*> kRows[] = {
        {"{ \"a\" : [ \n ] , \"b\":null}", R"({"a":[]})"},
        {R"([null])", "{}"},
        {R"([1,null,2])", "[1,2]"},
        {R"([ "\ufDd0" ])", "[\"\xEF\xB7\x90\"]"},
        {R"(["\uFDD0x", []])", "[\"\xEF\xB7\x90x\",[]]"},
        {R"(["\\uFDD0"])", R"(["\\uFDD0"])"},
    };
    for (const auto& [text, read] : kRows)
        EXPECT_EQ(U::cpp::ToJSON(U::cpp::FromJSON(text)), read) << text;
}

TEST_F(CppTrees, DamagedJSONIsReadAsFarAsItGoes)
{
    const std::pair<const char*, const char*> kRows[] = {
        {"", "{}"},
        {"}", "{}"},
        {"{", "{}"},
        {"[", "{}"},
        {"{\"a\":[", "{\"a\":{}}"},
        {"{\"a\":[]", "{\"a\":[]}"},
        {"[]]]]", "[]"},
        {"12", "{}"},
    };
    for (const auto& [text, read] : kRows)
        EXPECT_EQ(U::cpp::ToJSON(U::cpp::FromJSON(text)), read) << text;
    EXPECT_EQ(U::cpp::GetPath<U_i64>(U::cpp::FromJSON("12"), ""), 12);
    EXPECT_THROW(U::cpp::FromJSON("{\"a\":\"\\u12\"}"), boost::bad_any_cast);
    const std::string kDeepest =
        std::string(U_MostJSONDepth - 1, '[') + std::string(U_MostJSONDepth - 1, ']');
    EXPECT_EQ(U::cpp::ToJSON(U::cpp::FromJSON(kDeepest)), kDeepest);
    EXPECT_THROW(U::cpp::FromJSON("[" + kDeepest + "]"), boost::property_tree::ptree_error);
}

TEST_F(CppTrees, EmptyNodesSurviveInTreesToo)
{
    U_AnyTree tree;
    U::cpp::PutPath(tree, "array", U::cpp::EmptyArray());
    U::cpp::PutPath(tree, "object", U::cpp::EmptyObject());
    EXPECT_EQ(U::cpp::ToJSON(tree), R"({"array":[],"object":{}})");
    EXPECT_EQ(Narrow(U_AnyTreeWrapper(tree).GetAs_JSON()), R"({"array":[],"object":null})");
    U_AnyTreeWrapper(tree).get_child_tree(Units(u"array")).put(U_Any(5));
    EXPECT_EQ(U::cpp::ToJSON(tree), R"({"array":[5],"object":{}})");
    EXPECT_EQ(U::cpp::ToJSON(U_AnyTree()), "{}");
    EXPECT_EQ(U::cpp::ToJSON(U::cpp::EmptyArray()), "[]");
    U::cpp::PutPath(tree, "object", boost::any('c')); // a type that the library does not know
    EXPECT_EQ(U::cpp::ToJSON(tree), R"({"array":[5],"object":null})");
}

TEST_F(CppTrees, PutPathMakesObjectsAndKeepsPositions)
{
    const std::tuple<const char*, const char*, const char*> kRows[] = {
        {"{}", "a", R"({"a":7})"},
        {"{}", "a.b.c", R"({"a":{"b":{"c":7}}})"},
        {R"({"a":{},"z":1})", "a.b", R"({"a":{"b":7},"z":1})"},
        {R"({"a":1,"z":1})", "a", R"({"a":7,"z":1})"},
        {R"({"a":{"b":1},"z":1})", "a", R"({"a":7,"z":1})"},
        {R"({"a":[1,2],"z":1})", "a", R"({"a":7,"z":1})"},
    };
    for (const auto& [before, path, after] : kRows)
        EXPECT_EQ(Put(before, path), after) << path;
}

TEST_F(CppTrees, PutPathRefusesPathsThroughValuesAndArraysUnchanged)
{
    const char kBefore[] = R"({"a":1,"b":[1],"c":[]})";
    for (const char* path : {"", ".", "a.", ".a", "x..y", "a.x", "a.x.y", "b.x", "c.x", "b.x.y"})
    {
        U_AnyTree tree = U::cpp::FromJSON(kBefore);
        EXPECT_EQ(Thrown([&] { U::cpp::PutPath(tree, path, 7); }), 3) << path;
        EXPECT_EQ(U::cpp::ToJSON(tree), kBefore) << path;
    }
}

TEST_F(CppTrees, ValuesComeBackInTheirTypes)
{
    U_AnyTree tree;
    U::cpp::PutPath(tree, "text", "caf\xC3\xA9");
    U::cpp::PutPath(tree, "wide", std::u16string_view(u"\u4E2D"));
    U::cpp::PutPath(tree, "count", 12u);
    U::cpp::PutPath(tree, "ratio", 0.5f);
    U::cpp::PutPath(tree, "yes", true);
    EXPECT_EQ(U::cpp::ToJSON(tree),
              "{\"text\":\"caf\xC3\xA9\",\"wide\":\"\xE4\xB8\xAD\",\"count\":12,"
              "\"ratio\":0.5,\"yes\":true}");
    EXPECT_EQ(U::cpp::GetPath<std::string>(tree, "text"), "caf\xC3\xA9");
    EXPECT_EQ(U::cpp::GetPath<U_UTF16String>(tree, "wide"), Units(u"\u4E2D"));
    EXPECT_EQ(U::cpp::GetPath<U_i64>(tree, "count"), 12);
    EXPECT_EQ(U::cpp::GetPath<std::string>(tree, "count"), "12");
    EXPECT_EQ(U::cpp::GetPath<double>(tree, "ratio"), 0.5);
    EXPECT_EQ(U::cpp::GetPath<bool>(tree, "yes"), true);
    U::cpp::PutPath(tree, "deep.er", 1);
    for (const char* missing : {"none", "deep", "deep.none", "text.none", "deep..er"})
        EXPECT_EQ(U::cpp::GetPath<U_i64>(tree, missing), std::nullopt) << missing;
    EXPECT_EQ(U::cpp::FindPath(tree, ""), &tree);
    EXPECT_TRUE(U::cpp::FindPath(tree, "deep"));
}

TEST_F(CppTrees, ChildrenAreARangeWithoutThePlaceholder)
{
    U_AnyTree tree = U::cpp::FromJSON(R"({"a":1,"b":2,"c":[],"d":[3,4]})");
    std::string keys;
    for (const auto& [key, child] : U::cpp::Children<const U_AnyTree>(tree))
        keys += U::cpp::ToUTF8(key);
    EXPECT_EQ(keys, "abcd");
    EXPECT_TRUE(U::cpp::Children(*U::cpp::FindPath(tree, "c")).IsEmpty());
    for (auto& [key, child] : U::cpp::Children(tree))
    {
        if (child.empty())
            child.data() = U_Any(child.data().GetAs_int() + 1);
    }
    U_i64 sum = 0;
    for (const auto& child : U::cpp::Children(*U::cpp::FindPath(tree, "d")))
        sum += child.second.data().GetAs_int();
    EXPECT_EQ(sum, 7);
    EXPECT_EQ(U::cpp::ToJSON(tree), R"({"a":2,"b":3,"c":[],"d":[3,4]})");
}
