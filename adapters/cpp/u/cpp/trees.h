// Trees by path, JSON that keeps empty objects and arrays, and ranges over children.
//
//     U_AnyTree settings;
//     U::cpp::PutPath(settings, "view.zoom", 1.5);
//     U::cpp::PutPath(settings, "view.marks", U::cpp::EmptyArray());
//     const std::string json = U::cpp::ToJSON(settings); // {"view":{"zoom":1.5,"marks":[]}}
//     const U_AnyTree read = U::cpp::FromJSON(json);
//     const double zoom = U::cpp::GetPath<double>(read, "view.zoom").value_or(1); // 1.5
//
// A path is keys with dots between them, in UTF-8. Narrow text is UTF-8, also as a value.
//
// Thread safety: a tree is for one thread at a time, also for reading (U_AnyTree.h).
//
// Throws: std::bad_alloc; boost::bad_any_cast for a value of a type that the conversions of
// U_Any.h do not support.

#ifndef U_CPP_TREES_H
#define U_CPP_TREES_H

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/any.hpp>

#include <U_Any.h>
#include <U_AnyTree.h>
#include <U_Encoding.h>

#include <u/cpp/errors.h>
#include <u/cpp/text.h>

namespace U::cpp
{
// Returns a value as a variant. Narrow text is UTF-8.
template <class Value> U_Any ToAny(const Value& value)
{
    if constexpr (std::is_convertible_v<const Value&, std::string_view>)
        return U_Any(ToUTF16(std::string_view(value)));
    else if constexpr (std::is_convertible_v<const Value&, std::u16string_view>)
        return U_Any(ToUTF16(std::u16string_view(value)));
    else if constexpr (std::is_integral_v<Value> && !std::is_same_v<Value, bool>)
    {
        static_assert(std::is_signed_v<Value> || sizeof(Value) < sizeof(U_i64),
                      "a variant's integer is signed and has 64 bits");
        return U_Any(static_cast<U_i64>(value));
    }
    else if constexpr (std::is_floating_point_v<Value>)
        return U_Any(static_cast<double>(value));
    else
    {
        // Any other type would become a boost::any.
        static_assert(std::is_same_v<Value, bool> || std::is_same_v<Value, U_UTF16String> ||
                          std::is_same_v<Value, boost::any> || std::is_same_v<Value, U_Any>,
                      "a value is text, a number, a bool, a boost::any or a U_Any");
        return U_Any(value);
    }
}

// Returns a variant as `Value`: bool, U_i64, double, U_UTF16String, or std::string in UTF-8. Any
// kind of value converts (U_Any.h).
template <class Value> Value FromAny(const U_Any& any)
{
    if constexpr (std::is_same_v<Value, bool>)
        return any.GetAs_bool();
    else if constexpr (std::is_same_v<Value, double>)
        return any.GetAs_double();
    else if constexpr (std::is_same_v<Value, U_UTF16String>)
        return any.GetAs_Str();
    else if constexpr (std::is_same_v<Value, std::string>)
        return ToUTF8(any.GetAs_Str());
    else
    {
        static_assert(std::is_same_v<Value, U_i64>,
                      "a value is a bool, a U_i64, a double, a U_UTF16String or a std::string");
        return any.GetAs_int();
    }
}

// Returns an array without elements, to be put into a tree. Elements may be put into it as into
// any array. JSON of ToJSON and of U_AnyTreeWrapper has "[]" for it.
//
// The array has one child of kType_None with the empty key. Children and ToJSON skip it.
inline U_AnyTree EmptyArray()
{
    U_AnyTree array;
    array.push_back({U_UTF16String(), U_AnyTree(U_Any(boost::any()))});
    return array;
}

// Returns an object without members, to be put into a tree. JSON of ToJSON has "{}" for it. (JSON
// of U_AnyTreeWrapper has null.)
inline U_AnyTree EmptyObject()
{
    return U_AnyTree();
}

// Returns true if the node holds the child that marks an empty array.
inline bool IsPlaceholder(const U_AnyTree::value_type& child)
{
    return child.first.empty() && child.second.empty() &&
           child.second.data().GetType() == U_Any::kType_None;
}

// The children of a node as a range, in order:
//
//     for (const auto& [key, child] : U::cpp::Children(tree))
//         sum += child.data().GetAs_int();
//
// The range skips the child that marks an empty array. Its elements are the pairs of the tree
// itself, a key and a tree, and may be changed if the tree may be changed.
//
// REQUIRES: the tree outlives the range. No child is added or removed meanwhile.
template <class Tree> class Children
{
    typedef std::conditional_t<std::is_const_v<Tree>, typename Tree::const_iterator,
                               typename Tree::iterator>
        TreeIterator;

public:
    // A forward iterator over the children.
    class Iterator
    {
    public:
        // The members of a forward iterator.
        typedef std::forward_iterator_tag iterator_category;
        typedef typename Tree::value_type value_type;
        typedef std::ptrdiff_t difference_type;
        typedef typename std::iterator_traits<TreeIterator>::pointer pointer;
        typedef typename std::iterator_traits<TreeIterator>::reference reference;

        // The range makes its iterators by the second constructor.
        Iterator() = default;
        Iterator(TreeIterator place, TreeIterator end) : mPlace(place), mEnd(end) { Skip(); }

        // The operators of a forward iterator.
        reference operator*() const { return *mPlace; }
        pointer operator->() const { return &*mPlace; }
        Iterator& operator++()
        {
            ++mPlace;
            Skip();
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator old = *this;
            ++*this;
            return old;
        }
        bool operator==(const Iterator& other) const { return mPlace == other.mPlace; }
        bool operator!=(const Iterator& other) const { return mPlace != other.mPlace; }

    private:
        void Skip()
        {
            while (mPlace != mEnd && IsPlaceholder(*mPlace))
                ++mPlace;
        }

        TreeIterator mPlace, mEnd;
    };

    // Makes the range of the children of `tree`.
    explicit Children(Tree& tree) : mTree(&tree) {}

    // Return iterators at the first child and after the last one.
    Iterator begin() const { return Iterator(mTree->begin(), mTree->end()); }
    Iterator end() const { return Iterator(mTree->end(), mTree->end()); }

    // Returns true if there is no child but the mark of an empty array.
    bool IsEmpty() const { return begin() == end(); }

private:
    Tree* mTree;
};

namespace detail
{
// Returns true if named members may be added to the node.
inline bool IsObject(const U_AnyTree& node)
{
    return node.empty() || !U_AnyTreeWrapper(node).is_array();
}

// Returns the node of the keys before the last one. Makes the nodes that are missing, after all
// checks.
inline U_AnyTree& MakeParent(U_AnyTree& tree, const std::vector<U_UTF16String>& keys)
{
    if (std::any_of(keys.begin(), keys.end(), [](const auto& key) { return key.empty(); }))
        Throw(U_Err_BadParameter);
    U_AnyTree* node = &tree;
    for (std::size_t i = 0;; ++i)
    {
        if (!IsObject(*node))
            Throw(U_Err_BadParameter);
        if (i + 1 == keys.size())
            return *node;
        auto found = node->find(keys[i]);
        if (found == node->not_found())
        {
            U_AnyTreeWrapper(*node).push_back(keys[i], EmptyObject());
            node = &node->back().second;
            continue;
        }
        if (found->second.data().GetType() != U_Any::kType_Tree)
            Throw(U_Err_BadParameter);
        node = &found->second;
    }
}
} // namespace detail

// Sets the node at a path to a value or to a copy of a tree. Objects on the way that are missing
// are made. A node that exists keeps its position and loses its value and children. Of several
// children with one key the first counts.
//
// Throws: StatusError with 3, and the tree is unchanged, for a path with an empty key, and for a
// path through an array or through a plain value.
template <class Value> void PutPath(U_AnyTree& tree, std::string_view path, const Value& value)
{
    std::vector<U_UTF16String> keys;
    U_SplitUTF16String(ToUTF16(path), U_UTF16String(1, '.'), keys);
    U_AnyTree made;
    if constexpr (std::is_same_v<Value, U_AnyTree>)
        U_AnyTreeWrapper(made).push_back(keys.back(), value);
    else
        U_AnyTreeWrapper(made).push_back(keys.back(), ToAny(value));
    U_AnyTree& parent = detail::MakeParent(tree, keys);
    const auto found = parent.find(keys.back());
    if (found != parent.not_found())
        found->second.swap(made.front().second);
    else
        parent.push_back(made.front());
}

// Returns the node at a path, null if there is none. The empty path is the tree itself. Paths
// are as for U_AnyTreeWrapper::get_child_any.
inline const U_AnyTree* FindPath(const U_AnyTree& tree, std::string_view path)
{
    return tree.get_child_optional(U_AnyTree::path_type(ToUTF16(path), '.')).get_ptr();
}

// Returns the value at a path as FromAny does, nothing if there is no node or if the node is an
// object or an array.
template <class Value> std::optional<Value> GetPath(const U_AnyTree& tree, std::string_view path)
{
    const U_AnyTree* const node = FindPath(tree, path);
    if (!node || node->data().GetType() == U_Any::kType_Tree)
        return std::nullopt;
    return FromAny<Value>(node->data());
}

namespace detail
{
inline void AppendASCII(const char* text, U_UTF16String& json)
{
    json.append(text, text + std::char_traits<char>::length(text));
}

inline void AppendChildren(const U_AnyTree& node, U_UTF16String& json)
{
    const bool isArray = !IsObject(node);
    AppendASCII(isArray ? "[" : "{", json);
    const char* separator = "";
    for (const auto& [key, child] : Children<const U_AnyTree>(node))
    {
        AppendASCII(separator, json);
        separator = ",";
        if (!isArray)
        {
            json += U_Any(key).GetAs_JSON();
            AppendASCII(":", json);
        }
        const U_Any::TypeEnum kind = child.data().GetType();
        if (kind == U_Any::kType_Tree)
            AppendChildren(child, json);
        else if (kind == U_Any::kType_None)
            AppendASCII("null", json);
        else
            json += child.data().GetAs_JSON();
    }
    AppendASCII(isArray ? "]" : "}", json);
}

// The only element of an array that is empty in the text. If the first element of an array is a
// string that begins with this character, the string gets the character once more. So each string
// is told apart from the mark.
const U_u16 kEmptyArrayMark = 0xFDD0;

// Returns true if the string literal at `place` begins with the mark, as a character or escaped.
inline bool BeginsWithMark(const U_UTF16String& json, std::size_t place)
{
    const char kEscaped[] = "\\ufdd0";
    const std::size_t kLength = sizeof(kEscaped) - 1;
    if (json[place] != '"' || place + 1 == json.size())
        return false;
    return json[place + 1] == kEmptyArrayMark ||
           (json.size() - place > kLength &&
            std::equal(kEscaped, kEscaped + kLength, json.data() + place + 1,
                       [](char letter, U_u16 unit) {
                           return unit == letter ||
                                  (unit >= 'A' && unit <= 'F' && unit - 'A' + 'a' == letter);
                       }));
}

// Puts the mark into each empty array of the text, outside of strings, and before the strings that
// begin with the mark.
inline U_UTF16String MarkEmptyArrays(const U_UTF16String& json)
{
    const U_u16 kMark[] = {'"', kEmptyArrayMark, '"', 0};
    const U_UTF16String kSpaces(ToUTF16(" \t\r\n"));
    U_UTF16String marked;
    bool isInString = false;
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        marked += json[i];
        if (json[i] == '"')
            isInString = !isInString;
        else if (isInString && json[i] == '\\' && i + 1 < json.size())
            marked += json[++i];
        else if (!isInString && json[i] == '[')
        {
            const std::size_t next = json.find_first_not_of(kSpaces, i + 1);
            if (next != U_UTF16String::npos && json[next] == ']')
                marked += kMark;
            else if (next != U_UTF16String::npos && BeginsWithMark(json, next))
            {
                marked += '"';
                marked += kEmptyArrayMark;
                isInString = true;
                i = next;
            }
        }
    }
    return marked;
}

// Makes the arrays with the mark empty, and takes the mark off the strings that have got one.
inline void RestoreEmptyArrays(U_AnyTree& node)
{
    for (auto& [key, child] : node)
        RestoreEmptyArrays(child);
    if (node.empty() || !node.front().first.empty())
        return;
    U_Any& first = node.front().second.data();
    if (first.GetType() != U_Any::kType_String)
        return;
    const U_UTF16String text = first.GetAs_Str();
    if (!text.empty() && text[0] == kEmptyArrayMark)
        first = text.size() == 1 ? U_Any(boost::any()) : U_Any(text.substr(1));
}
} // namespace detail

// Returns the children of a tree as JSON in UTF-8, without white space. An outermost array has
// brackets. A node of kType_Tree without children is an empty object. A member of kType_None is
// null. Other values are written as U_Any::GetAs_JSON writes them.
//
// Failures: the text is not JSON if the tree has a double that is not finite or too long for plain
// digits: such doubles are written as "nan", "inf.0" or "1e+40.0".
inline std::string ToJSON(const U_AnyTree& tree)
{
    U_UTF16String json;
    detail::AppendChildren(tree, json);
    return ToUTF8(json);
}

// Returns the tree of a JSON text in UTF-8. Empty objects and arrays are nodes, and ToJSON writes
// them again. An outermost array is read, and white space may come first. Text without an
// outermost object or array is the tree's own value. Nulls make no node: the elements of an array
// after a null move up, and an array of nulls alone becomes an empty object.
//
// Throws: as U_AnyTreeWrapper::SetFrom_JSON; the text may be nested U_MostJSONDepth - 1 levels
// deep.
// Failures: text that is not JSON is read leniently, as U_AnyTreeWrapper::SetFrom_JSON describes.
inline U_AnyTree FromJSON(std::string_view json)
{
    // The reader treats the outermost value differently. So the text becomes a member of an object.
    const U_UTF16String key(1, 'j');
    U_UTF16String text = ToUTF16("{\"j\":");
    text += detail::MarkEmptyArrays(ToUTF16(json));
    text += '}';
    U_AnyTree whole;
    U_AnyTreeWrapper(whole).SetFrom_JSON(text);
    U_AnyTree tree;
    const auto found = whole.find(key);
    if (found != whole.not_found())
        tree.swap(found->second);
    detail::RestoreEmptyArrays(tree);
    return tree;
}
} // namespace U::cpp

#endif
