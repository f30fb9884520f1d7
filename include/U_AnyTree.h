// Trees of variants: settings and messages, with JSON text in and out.
//
// JSON objects are nodes whose children have the members' names as keys, arrays
// nodes whose children all have the empty key. A node for an object or an array
// is of the kind tree; strings, doubles (numbers with a "."), integers and bools
// are values of those kinds, and null is no node at all. A tree and its wrappers
// belong to one thread at a time, also for reading: a question may decide a
// value's kind.

#ifndef U_ANYTREE_H
#define U_ANYTREE_H

#include <functional>

#include <boost/property_tree/ptree.hpp>

#include "U_Any.h"
#include "U_Types.h"

// Each node has a value and children in order, each under a key; several may
// have the same key.
typedef boost::property_tree::basic_ptree<U_UTF16String, U_Any, std::less<U_UTF16String>> U_AnyTree;

// The deepest nesting of brackets that JSON text may have. A tree that is built deeper is
// written, but its text is not read back.
//
// Reading, writing, copying and destroying a tree take stack for each level. A thread that
// reads text from outside needs 512 KiB of stack. For 1,000 levels on x86-64,
// SetFrom_JSON takes 250 KiB, GetAs_JSON and GetAs_Str 130 KiB, a copy of the tree 260 KiB
// and its destruction 50 KiB. Copies and destruction are compiled with the caller: without
// optimisation they take 580 and 350 KiB, and the thread needs 1 MiB.
const unsigned int U_MostJSONDepth = 1000;

// A view of a tree, which it doesn't own and which must outlive it. To be copied
// freely. A key names a direct child and isn't a path, unless told otherwise.
class U_EXPORT U_AnyTreeWrapper
{
public:
    // The operations that aren't const change the tree.
    explicit U_AnyTreeWrapper(const U_AnyTree& tree);

    // Whether there are no children, whatever the node's own value.
    bool empty() const;
    bool exists(const U_UTF16String& key) const;

    // Whether all children have the empty key, as those of an array do; so a
    // tree without children is one.
    bool is_array() const;

    // Removes all children with the key, if there are any.
    void erase(const U_UTF16String& key);

    // The node's own value.
    U_Any& get_self();
    const U_Any& get_self() const;
    void put_self(const U_Any& value);

    // The value of the node at a path of keys between dots; a dot that ends the
    // path is ignored, one at the start or behind another bounds an empty key, and the
    // empty path is the node itself. Throws boost::property_tree::ptree_bad_path if
    // there is none.
    U_Any& get_child_any(const U_UTF16String& path);
    const U_Any& get_child_any(const U_UTF16String& path) const;

    // The child with the key, the first of several. Throws boost::bad_any_cast
    // if there is none.
    U_AnyTreeWrapper get_child_tree(const U_UTF16String& key);
    const U_AnyTreeWrapper get_child_tree(const U_UTF16String& key) const;

    // The changes that follow throw std::bad_alloc if there is no memory, with the tree
    // as it was, apart from SetFrom_JSON.

    // Append a child, whether the key is there or not: a copy of a tree, of the
    // kind tree from then on, or a value.
    void push_back(const U_UTF16String& key, const U_AnyTree& tree);
    void push_back(const U_UTF16String& key, const U_Any& value);

    // Append an element to an array.
    void put(const U_AnyTree& tree);
    void put(const U_Any& value);

    // Put a tree in the place of all children with the key; it goes to the end.
    // Narrow keys are ASCII.
    void put(const U_UTF16String& key, const U_AnyTree& tree);
    void put(const char* key, const U_AnyTree& tree);

    // Give the first child with the key a value; it keeps its place and its
    // children. A new key goes to the end. A key with a dot in it goes there in
    // any case, in the place of all children with it, and the empty key stands
    // for the node itself.
    void put(const U_UTF16String& key, const U_Any& value);
    void put(const char* key, const U_Any& value);

    // The tree for people: a line for each node, "key: value", a tab before it
    // for each level. Throws as the values' conversions do.
    U_UTF16String GetAs_Str() const;

    // The children as JSON, without white space. The outermost level is written
    // in braces even if it is an array, a nested tree without children as null. The
    // text is no JSON where U_Any::GetAs_JSON gives none: such a double, and a value
    // of no kind, which leaves its place empty. Throws as the values' conversions do.
    U_UTF16String GetAs_JSON() const;

    // Adds the members that a JSON text has; empty text adds nothing. The text may belong
    // to the tree. A nested value replaces all members of its name; a plain one is put
    // there as put does.
    //
    // Reads forgivingly: the first character counts as the opening brace,
    // whatever it is, so an array adds its elements if those are objects or
    // arrays; in an array a name is passed over in front of a plain value, and kept with
    // a nested one; a value that begins with t, f or n is true, false or null; any
    // other word is a number, as far as it reads as one. What a level can't make
    // sense of ends it, and so does the end of the text.
    //
    // Throws, with what was read before still in the tree: boost::bad_any_cast for a
    // key or a string that is no JSON literal or escapes half of a surrogate pair, and
    // boost::property_tree::ptree_error for a text nested deeper than U_MostJSONDepth.
    void SetFrom_JSON(const U_UTF16String& json);

    // A tree that has the values of the direct children, as text, for paths of
    // keys between dots, and their keys as values. The later of equal values
    // counts. A dot at the start, or behind another, bounds an empty key, one at the
    // end is ignored; the empty text stands for the tree itself. Throws
    // boost::property_tree::ptree_error for more than U_MostJSONDepth keys.
    U_AnyTree CreateReverseMapping() const;

private:
    friend class Up_JSONReader;

    U_AnyTree& FindChild(const U_UTF16String& key) const;
    U_AnyTree& Append(const U_UTF16String& key);
    void AppendTree(const U_UTF16String& key, U_AnyTree& tree);
    void EraseNamesakesOfLast();
    void PutValue(const U_UTF16String& key, U_Any value);

    U_AnyTree* mTree;
};

#endif
