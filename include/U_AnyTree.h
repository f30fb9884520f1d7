// Trees of variants, for settings and messages. Trees are read from JSON text and written as
// JSON text.
//
//     U_AnyTree settings;
//     U_AnyTreeWrapper wrapper(settings);
//     wrapper.put("files", 12);
//     wrapper.put("name", "main");
//     const U_UTF16String json = wrapper.GetAs_JSON(); // {"files":12,"name":"main"}
//
// A JSON object is a node whose children have the names of the members as keys, an array a node
// whose children all have the empty key; both are of kType_Tree. A string, a double (a number
// with a "."), an integer and a bool are values of those kinds. A JSON null makes no node.
//
// Thread safety: a tree and its wrappers are for one thread at a time, also for reading, since a
// read may infer the kind of a value.

#ifndef U_ANYTREE_H
#define U_ANYTREE_H

#include <functional>

#include <boost/property_tree/ptree.hpp>

#include "U_Any.h"
#include "U_Types.h"

// Each node has a value and an ordered list of children. Each child has a key, and several
// children may have the same key.
typedef boost::property_tree::basic_ptree<U_UTF16String, U_Any, std::less<U_UTF16String>> U_AnyTree;

// The deepest nesting of brackets that SetFrom_JSON reads. GetAs_JSON also writes deeper trees.
//
// Reading, writing, copying and destroying a tree use stack for each level. A thread that reads
// text from outside needs 512 KiB of stack. For 1,000 levels on x86-64, SetFrom_JSON uses
// 230 KiB, GetAs_JSON 130 KiB, GetAs_Str 130 KiB, a copy of the tree 260 KiB and its destruction
// 50 KiB. Copies and destruction are compiled with the caller: without optimisation they use 580
// and 350 KiB, and the thread needs 1 MiB.
const unsigned int U_MostJSONDepth = 1000;

// A view of a tree. Does not own the tree. Copies of a wrapper are views of the same tree. A key
// names a direct child and is not a path, unless the function says otherwise.
//
// REQUIRES: the tree outlives its wrappers.
class U_EXPORT U_AnyTreeWrapper
{
public:
    // Makes a view of `tree`. The functions that are not const change the tree, although the
    // reference is to const.
    explicit U_AnyTreeWrapper(const U_AnyTree& tree);

    // Returns true if the node has no children. The node's own value does not count.
    bool empty() const;
    bool exists(const U_UTF16String& key) const;

    // Returns true if all children have the empty key, so also for a node without children.
    bool is_array() const;

    // Removes all children with the key, if there are any.
    void erase(const U_UTF16String& key);

    // The node's own value.
    U_Any& get_self();
    const U_Any& get_self() const;
    void put_self(const U_Any& value);

    // Returns the value of the node at a path, which is keys with dots between them. The empty
    // path is the node itself. A dot at the end of the path is ignored; a dot at the start or
    // after another dot has an empty key before it.
    //
    // Throws: boost::property_tree::ptree_bad_path if there is no such node.
    U_Any& get_child_any(const U_UTF16String& path);
    const U_Any& get_child_any(const U_UTF16String& path) const;

    // Returns a view of the first child with the key.
    //
    // Throws: boost::bad_any_cast if there is none.
    U_AnyTreeWrapper get_child_tree(const U_UTF16String& key);
    const U_AnyTreeWrapper get_child_tree(const U_UTF16String& key) const;

    // The following functions throw std::bad_alloc if there is no memory. The tree is unchanged
    // then, except after SetFrom_JSON.

    // Append a child, also if the key exists: a copy of a tree, which becomes of kType_Tree, or a
    // value.
    void push_back(const U_UTF16String& key, const U_AnyTree& tree);
    void push_back(const U_UTF16String& key, const U_Any& value);

    // Append an element to an array.
    void put(const U_AnyTree& tree);
    void put(const U_Any& value);

    // Append a copy of a tree and erase all other children with the key. Narrow keys are ASCII.
    void put(const U_UTF16String& key, const U_AnyTree& tree);
    void put(const char* key, const U_AnyTree& tree);

    // Set the value of the first child with the key, which keeps its position and its children.
    // - If the key is new, a child is appended.
    // - If the key contains a dot, a child is appended and all other children with the key are
    //   erased.
    // - The empty key sets the value of the node itself.
    void put(const U_UTF16String& key, const U_Any& value);
    void put(const char* key, const U_Any& value);

    // Returns the tree as text for people: one line for each node, "key: value", with one leading
    // tab for each level below the first.
    //
    // Throws: as the conversions of the values.
    U_UTF16String GetAs_Str() const;

    // Returns the children as JSON without white space. The outermost level has braces even if it
    // is an array. A nested tree without children is written as null.
    //
    // Throws: as the conversions of the values.
    // Failures: the text is not JSON if U_Any::GetAs_JSON returns no JSON for a value: for some
    // doubles, and for a value of kType_None, for which nothing is written.
    U_UTF16String GetAs_JSON() const;

    // Adds the members of a JSON text to the tree. Empty text adds nothing. The text may be a part
    // of the tree. A nested value replaces all members with its name; a plain value is set as by
    // put.
    //
    // Throws: boost::bad_any_cast for a key or a string that is no JSON literal or that escapes
    // half of a surrogate pair; boost::property_tree::ptree_error for text that is nested deeper
    // than U_MostJSONDepth. The members before the failure stay in the tree. A nested value with
    // the failure is not added.
    //
    // Failures: an object ends at a member whose name is empty, and at white space between the
    // closing bracket of a nested value and the next comma. The rest of that object is read as the
    // rest of the level around it: an object there ends, too, and an array may take a later value
    // as an element. Text that is not JSON is read leniently:
    // - The first character counts as the opening brace, whichever character it is. So the
    //   elements of an outermost array are added up to the first one that is neither an object nor
    //   an array.
    // - In an array, a name before a plain value is ignored, and a name before a nested value
    //   becomes its key.
    // - A value that begins with t, f or n is true, false or null. Any other word is read as a
    //   number, up to the first character that does not belong to the number; as by
    //   U_Any::GetAs_int, "TRUE" is 1.
    // - Text that fits no rule ends its level, as the end of the text does.
    void SetFrom_JSON(const U_UTF16String& json);

    // Returns a tree in which the values of the direct children, as text, are paths, and the keys
    // of the children the values at these paths. Paths are as for get_child_any. Of two equal
    // values the later one counts.
    //
    // Throws: boost::property_tree::ptree_error for a path of more than U_MostJSONDepth keys; as
    // the conversions of the values.
    U_AnyTree CreateReverseMapping() const;

private:
    friend class Up_JSONReader;

    U_AnyTree& FindChild(const U_UTF16String& key) const;
    U_AnyTree& Append(const U_UTF16String& key);
    U_AnyTree& AppendTree(const U_UTF16String& key);
    void EraseNamesakesOfLast();
    void PutValue(const U_UTF16String& key, U_Any value);

    U_AnyTree* mTree;
};

#endif
