// A model of trees of variants, and JSON text with the nodes that it adds to a tree.

#ifndef FUZZ_TREE_MODEL_H
#define FUZZ_TREE_MODEL_H

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "value_model.h"

const char* const kKeys[] = {"a", "b", "c", "", "a.b", "a\"\\"};

struct Node
{
    Value mValue = Value::Of(false);
    std::vector<std::pair<Text, Node>> mChildren;

    Node* Find(const Text& key)
    {
        for (auto& [name, child] : mChildren)
        {
            if (name == key)
                return &child;
        }
        return nullptr;
    }

    void Erase(const Text& key)
    {
        const auto isOfKey = [&](const auto& child) { return child.first == key; };
        mChildren.erase(std::remove_if(mChildren.begin(), mChildren.end(), isOfKey),
                        mChildren.end());
    }

    void PutTree(const Text& key, Node tree)
    {
        tree.mValue = Value::OfTree();
        mChildren.emplace_back(key, std::move(tree));
    }

    void Put(const Text& key, const Value& value)
    {
        Node* const found = Find(key);
        if (key.find('.') != key.npos)
            Erase(key);
        else if (key.empty() || found)
        {
            (found && !key.empty() ? found : this)->mValue = value;
            return;
        }
        mChildren.push_back({key, {value, {}}});
    }

    // Returns the node at a path, which is made if it is absent and `makes` is set, or null.
    Node* At(const Text& path, bool makes = false)
    {
        Node* node = this;
        for (std::size_t from = 0; node && from < path.size();)
        {
            const std::size_t dot = std::min(path.find('.', from), path.size());
            const Text key = path.substr(from, dot - from);
            if (makes && !node->Find(key))
                node->mChildren.emplace_back(key, Node());
            node = node->Find(key);
            from = dot + 1;
        }
        return node;
    }

    bool IsArray() const
    {
        for (const auto& [key, child] : mChildren)
        {
            if (!key.empty())
                return false;
        }
        return true;
    }

    void WriteText(const std::string& tabs, Text& out) const
    {
        for (const auto& [key, child] : mChildren)
        {
            out += Wide(tabs) + key + Wide(": ") + *child.mValue.mText + Wide("\n");
            child.WriteText(tabs + "\t", out);
        }
    }

    // The children as JSON.
    // REQUIRES: IsReadable.
    Text JSON() const
    {
        Text out;
        for (const auto& [key, child] : mChildren)
        {
            out += Wide(&child == &mChildren[0].second ? "" : ",");
            out += key.empty() ? Text() : Literal(key) + Wide(":");
            if (child.mValue.mKind != U_Any::kType_Tree)
                out += child.mValue.JSON();
            else if (child.mChildren.empty())
                out += Wide("null");
            else if (child.IsArray())
                out += Wide("[") + child.JSON() + Wide("]");
            else
                out += Wide("{") + child.JSON() + Wide("}");
        }
        return out;
    }

    // Returns whether all values have a text.
    bool IsReadable() const
    {
        for (const auto& [key, child] : mChildren)
        {
            if (!child.mValue.mText || !child.IsReadable())
                return false;
        }
        return true;
    }
};

inline void RequireSame(const U_AnyTree& real, const Node& node)
{
    RequireSame(real.data(), node.mValue);
    Require(real.size() == node.mChildren.size());
    auto child = real.begin();
    for (const auto& [key, expected] : node.mChildren)
    {
        Require(child->first == key);
        RequireSame(child->second, expected);
        ++child;
    }
}

// JSON text, well formed or not, and the members and elements that its import adds to a tree.
// Malformed text follows the list of U_AnyTree.h.
class JSONText
{
public:
    explicit JSONText(Choices& choices) : mChoices(choices) {}

    // An object that has any first character and may lack the brackets at its end.
    Text Outermost(Node& node)
    {
        Text text = Object(node, kDepth);
        text[0] = static_cast<U_u16>("{{[x\"}"[mChoices.Below(6)]);
        while (mChoices.Below(8) == 7 && text.size() > 1 &&
               (text.back() == '}' || text.back() == ']'))
            text.pop_back();
        return text;
    }

    // A name was no literal. The members before it are in the tree, but for those of nested values.
    bool Throws() const { return mThrows; }

private:
    static const int kDepth = 2;

    Text Object(Node& node, int depth)
    {
        Text text = Wide("{");
        for (std::size_t count = mChoices.Below(4), i = 0; i < count && !mThrows; ++i)
        {
            Text key = Wide(mChoices.Of(kKeys));
            if (key.empty())
                key = Wide("long name");
            const std::size_t fault = mChoices.Below(32);
            const bool isAfterBracket = text.back() == '}' || text.back() == ']';
            if (depth == kDepth && (fault == 30 || (fault == 29 && isAfterBracket)))
                return text + Wide(fault == 29 ? " ,\"b\":1,x:1}"
                                   : i         ? ",\"\":1,x:1}"
                                               : "\"\":1,x:1}");
            text += Wide(i ? "," : "");
            AddSpace(text);
            mThrows = fault == 31;
            text += mThrows ? Wide("x") : Literal(key, true);
            AddSpace(text);
            text += ':';
            AddMember(text, node, &key, depth);
        }
        return text + Wide("}");
    }

    // A name in an array is that of a nested value only.
    Text Array(Node& node, int depth)
    {
        Text text = Wide("[");
        for (std::size_t count = mChoices.Below(4), i = 0; i < count && !mThrows; ++i)
        {
            const Text key = Wide(mChoices.Below(8) == 7 ? "b" : "");
            text += Wide(i ? "," : "") + (key.empty() ? key : Literal(key) + Wide(":"));
            AddMember(text, node, key.empty() ? nullptr : &key, depth, true);
        }
        return text + Wide("]");
    }

    // A value with a name, or none.
    Text Member(Node& node, const Text* key, int depth, bool isInArray)
    {
        static const struct
        {
            const char* mText;
            std::optional<Value> mValue; // none for null
        } kWords[] = {{"true", Value::Of(true)},
                      {"false", Value::Of(false)},
                      {"tr", Value::Of(true)},
                      {"f", Value::Of(false)},
                      {"null", {}},
                      {"n", {}},
                      {"-0.5", Value::Of(-0.5)},
                      {"123456789.25", Value::Of(123456789.25)},
                      {"12x4", Value::Of(12)},
                      {"x", Value::Of(0)},
                      {"-.5e1 7", Value::Of(-5.0)},
                      {"-2 x.", Value::Of(-2.0)}};
        const std::size_t sort = mChoices.Below(depth ? 6 : 4);
        const bool isLost = mThrows; // the name of the value has thrown
        if (sort >= 4)
        {
            Node nested;
            const Text text = sort == 4 ? Object(nested, depth - 1) : Array(nested, depth - 1);
            if (mThrows)
                return text;
            if (key)
                node.Erase(*key);
            node.PutTree(key ? *key : Text(), nested);
            return text;
        }
        const Text text = sort == 3 ? TakeText(mChoices) : Text();
        const auto& word = kWords[sort == 2 ? mChoices.Below(std::size(kWords)) : 0];
        const std::optional<Value> value = sort == 3
                                               ? Value::OfText(U_Any::kType_String, Mended(text))
                                           : sort == 2 ? word.mValue
                                                       : Value::Of(TakeInteger(mChoices));
        if (value && !isLost && key && !isInArray)
            node.Put(*key, *value);
        else if (value && !isLost)
            node.mChildren.push_back({Text(), {*value, {}}});
        return sort == 3 ? Literal(text, true) : sort == 2 ? Wide(word.mText) : *value->mText;
    }

    void AddMember(Text& text, Node& node, const Text* key, int depth, bool isInArray = false)
    {
        AddSpace(text);
        text += Member(node, key, depth, isInArray);
        if (isInArray || (text.back() != '}' && text.back() != ']')) // such a blank ends an object
            AddSpace(text);
    }

    void AddSpace(Text& text)
    {
        static const char* const kSpaces[] = {"", "", "", " ", "\r\n\t"};
        text += Wide(mChoices.Of(kSpaces));
    }

    Choices& mChoices;
    bool mThrows = false;
};

#endif
