// Trees made of JSON, and their description in one line.

#ifndef TESTS_DATA_TREES_H
#define TESTS_DATA_TREES_H

#include <string>
#include <string_view>

#include "U_AnyTree.h"
#include "tests/support/Text.h"

inline U_AnyTree TreeOf(std::u16string_view json)
{
    U_AnyTree tree;
    U_AnyTreeWrapper(tree).SetFrom_JSON(Units(json));
    return tree;
}

// Returns each child as its key, the letter of its kind, its value, and its children in
// parentheses: "a:i1 b:t(:sx)".
inline std::string Describe(const U_AnyTree& tree)
{
    std::string text;
    for (const auto& [key, child] : tree)
    {
        const U_Any::TypeEnum type = child.data().GetType();
        text += (text.empty() ? "" : " ") + std::string(key.begin(), key.end()) + ":";
        text += "0nbidesmt"[type];
        if (type != U_Any::kType_Tree)
            text += child.data().GetAs_MBStr();
        if (!child.empty() || type == U_Any::kType_Tree)
            text += "(" + Describe(child) + ")";
    }
    return text;
}

#endif
