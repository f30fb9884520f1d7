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

// The node at a path of keys between dots, made if it isn't there. The empty path
// is the tree itself, and a dot that ends a path is ignored, as boost's get_child
// does. Walked here, since boost's own put recurses once a key and asserts at such a
// dot.
U_AnyTree& NodeAt(const U_UTF16String& path, U_AnyTree& tree)
{
    if (std::count(path.begin(), path.end(), '.') >= std::ptrdiff_t(U_MostJSONDepth))
        boost::throw_exception(boost::property_tree::ptree_error("A path has more than 1000 keys"));
    static_assert(U_MostJSONDepth == 1000, "the text above tells it");
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
    // The empty key is the least, so all have it if the greatest is it.
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

// Appends a node without a value, which costs it no allocation. A range of what
// nodes are made from makes its node in place, where push_back would copy one.
U_AnyTree& U_AnyTreeWrapper::Append(const U_UTF16String& key)
{
    static platform::Immortal<U_Any> sNothing{boost::any()};
    const std::pair<const U_UTF16String&, const U_Any&> node(key, *sNothing);
    mTree->insert(mTree->end(), &node, &node + 1);
    return mTree->back().second;
}

// Appends what is a tree from then on, and takes it out of the argument.
void U_AnyTreeWrapper::AppendTree(const U_UTF16String& key, U_AnyTree& tree)
{
    Append(key).swap(tree);
    mTree->back().second.data().mType = U_Any::kType_Tree;
}

// Erases the other children with the last one's key. A child that is to be replaced
// goes only when the new one is there: it stays if there is no memory, and the new
// one's key and value may come from it.
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
    AppendTree(key, copy);
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
    // The text may be a key or a value of a child that is replaced, so it is read
    // from a copy; a tree that has no children yet is spared that.
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
