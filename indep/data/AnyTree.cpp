#include "U_AnyTree.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <platform/base/immortal.h>

#include "U_Encoding.h"
#include "indep/data/JSON.h"

namespace
{
const U_UTF16String& ElementKey()
{
    static platform::Immortal<U_UTF16String> sElementKey;
    return *sElementKey;
}

// Returns the node at a path, which is keys with dots between them; makes missing nodes. The empty
// path is the tree itself, and a dot at the end is ignored, as in boost's get_child. boost's put
// is not used: it recurses for each key and asserts at a dot at the end.
U_AnyTree& NodeAt(const U_UTF16String& path, U_AnyTree& tree)
{
    if (std::count(path.begin(), path.end(), '.') >= std::ptrdiff_t(U_MostJSONDepth))
        boost::throw_exception(boost::property_tree::ptree_error("A path has more than 1000 keys"));
    static_assert(U_MostJSONDepth == 1000, "the text above has this number");
    U_AnyTree* node = &tree;
    for (std::size_t from = 0; from < path.size();)
    {
        const std::size_t dot = path.find('.', from);
        const U_UTF16String key(path, from, dot - from);
        const auto found = node->find(key);
        node = found != node->not_found() ? &found->second
                                          : &node->push_back({key, U_AnyTree()})->second;
        if (dot == U_UTF16String::npos)
            break;
        from = dot + 1;
    }
    return *node;
}
} // namespace

U_AnyTreeWrapper::U_AnyTreeWrapper(const U_AnyTree& tree) : mTree(const_cast<U_AnyTree*>(&tree)) {}

bool U_AnyTreeWrapper::empty() const
{
    return mTree->empty();
}

bool U_AnyTreeWrapper::exists(const U_UTF16String& key) const
{
    return mTree->find(key) != mTree->not_found();
}

bool U_AnyTreeWrapper::is_array() const
{
    // The empty key is the least key: if the greatest key is empty, all keys are.
    return mTree->empty() || std::prev(mTree->not_found())->first.empty();
}

void U_AnyTreeWrapper::erase(const U_UTF16String& key)
{
    mTree->erase(key);
}

U_Any& U_AnyTreeWrapper::get_self()
{
    return mTree->data();
}

const U_Any& U_AnyTreeWrapper::get_self() const
{
    return mTree->data();
}

void U_AnyTreeWrapper::put_self(const U_Any& value)
{
    mTree->data() = value;
}

U_Any& U_AnyTreeWrapper::get_child_any(const U_UTF16String& path)
{
    return mTree->get_child(U_AnyTree::path_type(path)).data();
}

const U_Any& U_AnyTreeWrapper::get_child_any(const U_UTF16String& path) const
{
    return mTree->get_child(U_AnyTree::path_type(path)).data();
}

U_AnyTree& U_AnyTreeWrapper::FindChild(const U_UTF16String& key) const
{
    const auto found = mTree->find(key);
    if (found == mTree->not_found())
        boost::throw_exception(boost::bad_any_cast());
    return found->second;
}

U_AnyTreeWrapper U_AnyTreeWrapper::get_child_tree(const U_UTF16String& key)
{
    return U_AnyTreeWrapper(FindChild(key));
}

const U_AnyTreeWrapper U_AnyTreeWrapper::get_child_tree(const U_UTF16String& key) const
{
    return U_AnyTreeWrapper(FindChild(key));
}

// Appends a node without a value: the value needs no allocation. insert constructs the node in
// place from a range of its parts, where push_back would copy a node.
U_AnyTree& U_AnyTreeWrapper::Append(const U_UTF16String& key)
{
    static platform::Immortal<U_Any> sNothing{boost::any()};
    const std::pair<const U_UTF16String&, const U_Any&> node(key, *sNothing);
    mTree->insert(mTree->end(), &node, &node + 1);
    return mTree->back().second;
}

// Appends a node of kType_Tree with the value of a new tree.
U_AnyTree& U_AnyTreeWrapper::AppendTree(const U_UTF16String& key)
{
    U_AnyTree& tree = Append(key);
    tree.data() = U_Any();
    tree.data().mType = U_Any::kType_Tree;
    return tree;
}

// Erases all other children with the key of the last child. A child is erased after its
// replacement was appended: without memory the child stays, and the key and value of the
// replacement may belong to the child.
void U_AnyTreeWrapper::EraseNamesakesOfLast()
{
    const auto last = std::prev(mTree->end());
    for (auto first = mTree->to_iterator(mTree->find(last->first)); first != last;
         first = mTree->to_iterator(mTree->find(last->first)))
        mTree->erase(first);
}

void U_AnyTreeWrapper::PutValue(const U_UTF16String& key, U_Any value)
{
    if (key.empty())
    {
        mTree->data() = std::move(value);
        return;
    }
    const auto found = mTree->find(key);
    if (found == mTree->not_found())
    {
        Append(key).data() = std::move(value);
        return;
    }
    if (key.find('.') == U_UTF16String::npos)
    {
        found->second.data() = std::move(value);
        return;
    }
    Append(key).data() = std::move(value);
    EraseNamesakesOfLast();
}

void U_AnyTreeWrapper::push_back(const U_UTF16String& key, const U_AnyTree& tree)
{
    U_AnyTree copy(tree);
    copy.data().mType = U_Any::kType_Tree;
    Append(key).swap(copy);
}

void U_AnyTreeWrapper::push_back(const U_UTF16String& key, const U_Any& value)
{
    U_Any copy(value);
    Append(key).data() = std::move(copy);
}

void U_AnyTreeWrapper::put(const U_AnyTree& tree)
{
    push_back(ElementKey(), tree);
}

void U_AnyTreeWrapper::put(const U_Any& value)
{
    push_back(ElementKey(), value);
}

void U_AnyTreeWrapper::put(const U_UTF16String& key, const U_AnyTree& tree)
{
    push_back(key, tree);
    EraseNamesakesOfLast();
}

void U_AnyTreeWrapper::put(const char* key, const U_AnyTree& tree)
{
    put(U_AsciiToUTF16String(key), tree);
}

void U_AnyTreeWrapper::put(const U_UTF16String& key, const U_Any& value)
{
    PutValue(key, value);
}

void U_AnyTreeWrapper::put(const char* key, const U_Any& value)
{
    put(U_AsciiToUTF16String(key), value);
}

void U_AnyTreeWrapper::SetFrom_JSON(const U_UTF16String& json)
{
    if (json.empty())
        return;
    // The text may belong to a child that is replaced, so the reader reads a copy. A tree without
    // children needs no copy.
    const U_UTF16String copy = mTree->empty() ? U_UTF16String() : json;
    Up_JSONReader(copy.empty() ? json : copy).ReadLevel(*this, false);
}

U_AnyTree U_AnyTreeWrapper::CreateReverseMapping() const
{
    U_AnyTree mapping;
    for (const auto& [key, child] : *mTree)
        NodeAt(child.data().GetAs_Str(), mapping).data() = U_Any(key);
    return mapping;
}
