// Have variants and trees the values, children and JSON that a plain model has, after any calls?

#include <tuple>
#include <utility>

#include <platform/control.h>

#include "U_AnyTree.h"
#include "json.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"
#include "tree_model.h"

namespace
{
class Data
{
public:
    void Set(Choices& choices)
    {
        const std::size_t i = TakeIndex(choices);
        std::tie(mValues[i], mExpected[i]) = TakeValue(choices);
    }

    void Copy(Choices& choices)
    {
        const std::size_t from = TakeIndex(choices);
        const std::size_t to = TakeIndex(choices);
        if (choices.Flag())
        {
            mValues[to] = mValues[from];
            mExpected[to] = mExpected[from];
            return;
        }
        mValues[to] = std::move(mValues[from]);
        mExpected[to] = std::exchange(mExpected[from], from == to ? mExpected[from] : Value());
    }

    void ReadLiteral(Choices& choices)
    {
        static const char* const kBad[] = {"", "12", "\"a", "\"\\ud800\"", "{\"a\":1}", "null"};
        const std::size_t i = TakeIndex(choices);
        const std::size_t choice = choices.Below(16);
        const Text text = TakeText(choices);
        try
        {
            mValues[i].SetFrom_JSON(choice < std::size(kBad) ? Wide(kBad[choice])
                                                             : Literal(text, true));
            Require(choice >= std::size(kBad));
            mExpected[i] = Value::OfText(U_Any::kType_String, Mended(text));
        }
        catch (const boost::bad_any_cast&)
        {
            Require(choice < std::size(kBad));
        }
    }

    void Translate(Choices& choices)
    {
        const std::size_t i = TakeIndex(choices);
        const boost::any held = *U_AnyTranslator().get_value(mValues[i]);
        RequireSame(boost::any_cast<const U_Any&>(held), mExpected[i]);
        Require(U_AnyTranslator().put_value(held)->GetType() == U_Any::kType_None);
    }

    void PutValue(Choices& choices)
    {
        const Place place = TakePlace(choices);
        const std::size_t i = TakeIndex(choices);
        const char* const narrow = choices.Of(kKeys);
        const Text key = Wide(narrow);
        U_AnyTreeWrapper wrapper(*place.mReal);
        switch (choices.Below(5))
        {
        case 0:
            wrapper.put(key, mValues[i]);
            return place.mNode->Put(key, mExpected[i]);
        case 1:
            wrapper.put(narrow, mValues[i]);
            return place.mNode->Put(key, mExpected[i]);
        case 2:
            wrapper.push_back(key, mValues[i]);
            place.mNode->mChildren.push_back({key, {mExpected[i], {}}});
            return;
        case 3:
            wrapper.put(mValues[i]);
            place.mNode->mChildren.push_back({Text(), {mExpected[i], {}}});
            return;
        }
        wrapper.put_self(mValues[i]);
        place.mNode->mValue = mExpected[i];
    }

    // Puts a copy of a tree, which may be a part of the other one.
    void PutTree(Choices& choices)
    {
        const Place from = TakePlace(choices);
        const Place to = TakePlace(choices);
        const char* const narrow = choices.Of(kKeys);
        const Text key = Wide(narrow);
        const std::size_t sort = choices.Below(4);
        if (CountOf(*from.mNode) + CountOf(*to.mNode) > 40)
            return;
        const U_AnyTree copy = *from.mReal;
        const Node copied = *from.mNode;
        U_AnyTreeWrapper wrapper(*to.mReal);
        if (sort == 0)
            wrapper.push_back(key, copy);
        else if (sort == 1)
            wrapper.put(copy);
        else if (sort == 2)
            wrapper.put(key, copy);
        else
            wrapper.put(narrow, copy);
        if (sort > 1)
            to.mNode->Erase(key);
        to.mNode->PutTree(sort == 1 ? Text() : key, copied);
    }

    void Erase(Choices& choices)
    {
        const Place place = TakePlace(choices);
        const Text key = Wide(choices.Of(kKeys));
        U_AnyTreeWrapper(*place.mReal).erase(key);
        place.mNode->Erase(key);
    }

    void CopyTree(Choices& choices)
    {
        const std::size_t from = choices.Below(std::size(mTrees));
        mTrees[!from] = mTrees[from];
        mNodes[!from] = mNodes[from];
    }

    void ReadJSON(Choices& choices)
    {
        const Place place = TakePlace(choices);
        JSONText json(choices);
        const Text text = json.Outermost(*place.mNode);
        try
        {
            U_AnyTreeWrapper(*place.mReal).SetFrom_JSON(text);
            Require(!json.Throws());
        }
        catch (const boost::bad_any_cast&)
        {
            Require(json.Throws());
        }
    }

    void Look(Choices& choices)
    {
        static const char* const kPaths[] = {"a.b", "a.",    ".a",        "a..b",
                                             "",    "b.a.b", "long name", "."};
        const Place place = TakePlace(choices);
        const U_AnyTreeWrapper wrapper(*place.mReal);
        const Text key = Wide(choices.Of(kKeys));
        const Text path = Wide(choices.Of(kPaths));
        Node& node = *place.mNode;
        Require(wrapper.exists(key) == (node.Find(key) != nullptr));
        Require(wrapper.empty() == node.mChildren.empty());
        Require(&U_AnyTreeWrapper(*place.mReal).get_self() == &wrapper.get_self());
        Require(wrapper.is_array() == node.IsArray());
        try
        {
            RequireSame(wrapper.get_child_any(path),
                        node.At(path) ? node.At(path)->mValue : Value());
            Require(node.At(path));
            Require(&U_AnyTreeWrapper(*place.mReal).get_child_any(path) ==
                    &wrapper.get_child_any(path));
        }
        catch (const boost::property_tree::ptree_bad_path&)
        {
            Require(!node.At(path));
        }
        try
        {
            const U_AnyTreeWrapper child = wrapper.get_child_tree(key);
            Require(node.Find(key));
            RequireSame(child.get_self(), node.Find(key)->mValue);
        }
        catch (const boost::bad_any_cast&)
        {
            Require(!node.Find(key));
        }
    }

    void Write(Choices& choices)
    {
        const Place place = TakePlace(choices);
        if (!place.mNode->IsReadable())
            return;
        const U_AnyTreeWrapper wrapper(*place.mReal);
        Text text;
        place.mNode->WriteText("", text);
        Require(wrapper.GetAs_Str() == text);
        Require(Canonical(wrapper.GetAs_JSON()) == Wide("{") + place.mNode->JSON() + Wide("}"));
        Node reverse;
        for (const auto& [key, child] : place.mNode->mChildren)
            reverse.At(*child.mValue.mText, true)->mValue = Value::OfText(U_Any::kType_String, key);
        RequireSame(wrapper.CreateReverseMapping(), reverse);
    }

    void Check() { RequireSame(mValues[mLast], mExpected[mLast]); }

    void CheckAll()
    {
        for (std::size_t i = 0; i < std::size(mValues); ++i)
            RequireSame(mValues[i], mExpected[i]);
        for (std::size_t i = 0; i < std::size(mTrees); ++i)
            RequireSame(mTrees[i], mNodes[i]);
    }

private:
    // A node of the library's tree, and that of the model.
    struct Place
    {
        U_AnyTree* mReal;
        Node* mNode;
    };

    Place TakePlace(Choices& choices)
    {
        const std::size_t tree = choices.Below(std::size(mTrees));
        Place place = {&mTrees[tree], &mNodes[tree]};
        for (std::size_t steps = choices.Below(4); steps > 1; --steps)
        {
            const Text key = Wide(choices.Of(kKeys));
            Node* const child = place.mNode->Find(key);
            if (!child)
                break;
            place = {&place.mReal->find(key)->second, child};
        }
        return place;
    }

    static std::size_t CountOf(const Node& node)
    {
        std::size_t count = 1;
        for (const auto& [key, child] : node.mChildren)
            count += CountOf(child);
        return count;
    }

    std::size_t TakeIndex(Choices& choices)
    {
        mLast = choices.Below(std::size(mValues));
        return mLast;
    }

    U_Any mValues[3];
    Value mExpected[3] = {Value::Of(false), Value::Of(false), Value::Of(false)};
    std::size_t mLast = 0; // used
    U_AnyTree mTrees[2];
    Node mNodes[2];
};

void (Data::*const kCalls[])(Choices&) = {&Data::Set,         &Data::Set,       &Data::Copy,
                                          &Data::ReadLiteral, &Data::Translate, &Data::PutValue,
                                          &Data::PutTree,     &Data::Erase,     &Data::CopyTree,
                                          &Data::ReadJSON,    &Data::Look,      &Data::Write};

// Two threads read one value, whose kind is decided.
void ReadOnTwoThreads(Choices& choices)
{
    static SecondThread sSecond;
    const auto [value, expected] = TakeValue(choices);
    value.GetType();
    const auto read = [real = &value, model = &expected] { RequireSame(*real, *model); };
    sSecond.RunBoth(read, read);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    platform::SetActiveCodePage(65001);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Choices choices(bytes, size);
    if (choices.Below(64) == 63)
    {
        ReadOnTwoThreads(choices);
        return 0;
    }
    Data data;
    RunCalls(choices, data, kCalls);
    data.CheckAll();
    return 0;
}
