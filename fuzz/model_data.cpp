// Have variants and trees the values, children and JSON that a plain model has, after any calls?

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

namespace
{
typedef U_UTF16String Text;

// Returns the longest number at the head of the text, without white space before it.
std::string NumberOf(const std::string& text)
{
    const char* const kDigits = "0123456789";
    const std::size_t begin = text.find_first_not_of(" \t\n\r");
    if (begin == text.npos)
        return {};
    const auto skip = [&](std::size_t from, const char* set) {
        return std::min(text.find_first_not_of(set, from), text.size());
    };
    const std::size_t sign = begin + (text[begin] == '-' || text[begin] == '+');
    std::size_t end = skip(sign, kDigits);
    std::size_t digits = end - sign;
    if (end < text.size() && text[end] == '.')
    {
        const std::size_t fraction = skip(end + 1, kDigits);
        digits += fraction - end - 1;
        end = fraction;
    }
    if (!digits)
        return {};
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E'))
    {
        const std::size_t exponent =
            end + 1 + (end + 1 < text.size() && (text[end + 1] == '-' || text[end + 1] == '+'));
        if (skip(exponent, kDigits) != exponent)
            end = skip(exponent, kDigits);
    }
    return text.substr(begin, end - begin);
}

U_i64 Clamped(long double value)
{
    typedef std::numeric_limits<U_i64> Limits;
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<long double>(Limits::max()))
        return Limits::max();
    return value <= static_cast<long double>(Limits::min()) ? Limits::min()
                                                            : static_cast<U_i64>(value);
}

// At most 9 decimals, without zeros at the end. With an exponent if there is no room.
std::string NumberText(double value)
{
    char buffer[400];
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    std::string text(buffer, static_cast<std::size_t>(
                                 std::snprintf(buffer, sizeof buffer, "%.9f", value + 0.0)));
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    if (text.size() <= 31)
        return text;
    return std::string(
        buffer,
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific).ptr);
}

// The results of the conversions of a value. Without a result a conversion throws.
struct Value
{
    U_Any::TypeEnum mKind = U_Any::kType_None;
    std::optional<U_i64> mInteger = 0;
    std::optional<double> mDouble = 0;
    std::optional<Text> mText = Text();
    bool mIsNumeric = false;

    static Value OfInteger(U_Any::TypeEnum kind, U_i64 value, const std::string& text)
    {
        return {kind, value, static_cast<double>(value), Wide(text), kind == U_Any::kType_Int};
    }

    static Value OfDouble(double value)
    {
        const std::string text = NumberText(value) + (std::floor(value) == value ? ".0" : "");
        return {U_Any::kType_Double, Clamped(value), value, Wide(text), true};
    }

    static Value OfText(U_Any::TypeEnum kind, const Text& text)
    {
        const std::string ascii(text.begin(), text.end()); // other units are no digits
        const std::string number = NumberOf(ascii);
        U_i64 integer = Clamped(number.empty() ? 0 : std::strtold(number.c_str(), nullptr));
        if (ascii == "true" || ascii == "TRUE")
            integer = 1;
        const double real = number.empty() ? 0 : std::strtod(number.c_str(), nullptr);
        const bool isNumeric =
            !text.empty() && ascii.find_first_not_of("-.,0123456789") == std::string::npos;
        return {kind, integer, real, text, isNumeric};
    }

    static Value Unreadable(U_Any::TypeEnum kind) { return {kind, {}, {}, {}, true}; }

    static Value OfTree() { return {U_Any::kType_Tree, 0, 0.0, Wide("<tree>"), false}; }
};

template <typename Result, typename Call>
void RequireResult(const std::optional<Result>& expected, const Call& call)
{
    try
    {
        const Result result = call();
        Require(expected && (result == *expected || result != result));
    }
    catch (const boost::bad_any_cast&)
    {
        Require(!expected);
    }
}

// Half of a surrogate pair becomes U+FFFD.
Text Mended(const Text& text)
{
    return U_UTF8To16String(U_UTF16To8String(text));
}

void RequireJSON(const U_Any& real, const Value& value)
{
    const Text json = real.GetAs_JSON();
    if (value.mKind == U_Any::kType_String || value.mKind == U_Any::kType_MBString)
    {
        Require(json.size() >= 2 && json.front() == '"' && json.back() == '"');
        for (const U_u16 unit : json)
            Require(unit >= ' ');
        U_Any again(true);
        again.SetFrom_JSON(json);
        Require(again.GetType() == U_Any::kType_String &&
                again.GetAs_Str() == Mended(*value.mText));
        return;
    }
    if (value.mKind == U_Any::kType_Null)
        Require(json == Wide("null"));
    else
        Require(json == (value.mKind == U_Any::kType_Tree ? Text() : *value.mText));
}

void RequireSame(const U_Any& real, const Value& value)
{
    Require(real.GetType() == value.mKind);
    Require(real.IsNumeric() == value.mIsNumeric);
    RequireResult(value.mInteger, [&] { return real.GetAs_int(); });
    RequireResult(value.mDouble, [&] { return real.GetAs_double(); });
    RequireResult(value.mText, [&] { return real.GetAs_Str(); });
    if (!value.mText)
        return;
    Require(real.GetAs_bool() == (*value.mInteger != 0) && real.GetAs_Enum() == *value.mInteger);
    Require(real.GetAs_MBStr() == U_UTF16ToMBString(*value.mText, false));
    RequireJSON(real, value);
}

struct Node
{
    Value mValue = Value::OfInteger(U_Any::kType_Bool, 0, "false");
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

// The children as JSON; the values are those of the library, which RequireSame checks.
void WriteJSON(const U_AnyTree& real, const Node& node, Text& out)
{
    auto child = real.begin();
    for (std::size_t i = 0; i < node.mChildren.size(); ++i, ++child)
    {
        const auto& [key, expected] = node.mChildren[i];
        if (i)
            out += ',';
        if (!key.empty())
            out += U_Any(key).GetAs_JSON() + Wide(":");
        if (expected.mValue.mKind != U_Any::kType_Tree)
        {
            out += child->second.data().GetAs_JSON();
            continue;
        }
        if (expected.mChildren.empty())
        {
            out += Wide("null");
            continue;
        }
        out += expected.IsArray() ? '[' : '{';
        WriteJSON(child->second, expected, out);
        out += expected.IsArray() ? ']' : '}';
    }
}

void RequireSame(const U_AnyTree& real, const Node& node)
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

const char* const kTexts[] = {"",
                              "true",
                              "TRUE",
                              "True",
                              "false",
                              "12",
                              "-7",
                              "1.5e2",
                              " 42x",
                              "1e99",
                              "-.5",
                              "1-2,3",
                              "3.",
                              "+8",
                              "\"\\/\n",
                              "null",
                              "9223372036854775808",
                              "-9223372036854775809",
                              "0x10",
                              "inf",
                              "1e",
                              "."};
const U_i64 kIntegers[] = {
    0, 1, -1, 12, 1ll << 40, std::numeric_limits<U_i64>::max(), std::numeric_limits<U_i64>::min()};
const double kDoubles[] = {0.0,
                           0.5,
                           -2.7,
                           2.0,
                           1e9,
                           1e21,
                           1e22,
                           1e35,
                           1e300,
                           -0.0,
                           1e-12,
                           -1e-12,
                           123456789.123456789,
                           HUGE_VAL,
                           -HUGE_VAL,
                           std::numeric_limits<double>::quiet_NaN()};
const char* const kKeys[] = {"a", "b", "c", "", "a.b", "a\"\\"};

U_i64 TakeInteger(Choices& choices)
{
    const std::size_t choice = choices.Below(16);
    return choice < std::size(kIntegers) ? kIntegers[choice]
                                         : static_cast<U_i64>(choices.Below(65536)) - 32768;
}

double TakeDouble(Choices& choices)
{
    const std::size_t choice = choices.Below(32);
    return choice < std::size(kDoubles) ? kDoubles[choice]
                                        : static_cast<double>(TakeInteger(choices)) / 64;
}

Text TakeText(Choices& choices)
{
    static const Text kWide[] = {{'e', 0xE9, 0x20AC}, {0xD83D, 0xDE00}, {0xD800, 'x'}, {1, 0x2028}};
    const std::size_t choice = choices.Below(std::size(kTexts) + std::size(kWide));
    return choice < std::size(kTexts) ? Wide(kTexts[choice]) : kWide[choice - std::size(kTexts)];
}

std::pair<U_Any, Value> TakeValue(Choices& choices)
{
    const auto integer = [](U_Any::TypeEnum kind, U_i64 value) {
        return Value::OfInteger(kind, value, std::to_string(value));
    };
    const auto truth = [](U_i64 value) {
        return Value::OfInteger(U_Any::kType_Bool, value, value ? "true" : "false");
    };
    const std::size_t sort = choices.Below(16);
    switch (sort)
    {
    case 0:
    {
        const bool value = choices.Flag();
        return {value, truth(value)};
    }
    case 1:
    {
        const int value = static_cast<int>(TakeInteger(choices));
        return {value, integer(U_Any::kType_Int, value)};
    }
    case 2:
    {
        const U_i64 value = TakeInteger(choices);
        return {value, integer(U_Any::kType_Int, value)};
    }
    case 3:
    {
        const double value = TakeDouble(choices);
        return {value, Value::OfDouble(value)};
    }
    case 4:
    {
        const char* const text = choices.Of(kTexts);
        return {choices.Flag() ? U_Any(text) : U_Any(boost::any(std::string(text))),
                Value::OfText(U_Any::kType_MBString, Wide(text))};
    }
    case 5:
    {
        const int value = static_cast<int>(TakeInteger(choices));
        return {boost::any(value), truth(value)};
    }
    case 6:
    {
        const short value = static_cast<short>(TakeInteger(choices));
        return {boost::any(value), integer(U_Any::kType_Int, value)};
    }
    case 7:
        return {boost::any(TakeInteger(choices) < 0 ? 1u : 2u),
                Value::Unreadable(U_Any::kType_Int)};
    case 8:
        return {boost::any(1.5f), Value::Unreadable(U_Any::kType_Double)};
    case 9:
        return {boost::any(static_cast<void*>(nullptr)), {U_Any::kType_Null}};
    case 10:
        return {choices.Flag() ? boost::any('c') : boost::any(), {}};
    case 11:
        return {boost::any(U_AnyTree()), Value::OfTree()};
    case 12:
        return {U_Any(), truth(0)};
    default:
    {
        const Text text = TakeText(choices);
        return {sort == 13 ? U_Any(boost::any(text)) : U_Any(text),
                Value::OfText(U_Any::kType_String, text)};
    }
    }
}

// JSON text with white space, and what it adds to a tree.
class JSONText
{
public:
    explicit JSONText(Choices& choices) : mChoices(choices) {}

    Text Object(Node& node, int depth)
    {
        Text text = Wide("{");
        for (std::size_t count = mChoices.Below(4), i = 0; i < count; ++i)
        {
            Text key = Wide(mChoices.Of(kKeys));
            if (key.empty())
                key = Wide("long name");
            text += Wide(i ? "," : "");
            AddSpace(text);
            text += U_Any(key).GetAs_JSON();
            AddSpace(text);
            text += ':';
            AddMember(text, node, &key, depth);
        }
        return text + Wide("}");
    }

private:
    Text Array(Node& node, int depth)
    {
        Text text = Wide("[");
        for (std::size_t count = mChoices.Below(4), i = 0; i < count; ++i)
        {
            text += Wide(i ? "," : "");
            AddMember(text, node, nullptr, depth);
        }
        return text + Wide("]");
    }

    // A value, of an array if there is no key.
    Text Member(Node& node, const Text* key, int depth)
    {
        const std::size_t sort = mChoices.Below(depth ? 7 : 5);
        if (sort >= 5)
        {
            Node nested;
            const Text text = sort == 5 ? Object(nested, depth - 1) : Array(nested, depth - 1);
            if (key)
                node.Erase(*key);
            node.PutTree(key ? *key : Text(), nested);
            return text;
        }
        const U_i64 integer = TakeInteger(mChoices);
        const std::string digits = std::to_string(integer);
        switch (sort)
        {
        case 0:
            return Put(node, key, Value::OfInteger(U_Any::kType_Int, integer, digits), digits);
        case 1:
        {
            const double value = std::strtod((digits + ".25").c_str(), nullptr);
            return Put(node, key, Value::OfDouble(value), digits + ".25");
        }
        case 2:
        {
            const bool value = integer & 1;
            const char* const word = value ? "true" : "false";
            return Put(node, key, Value::OfInteger(U_Any::kType_Bool, value, word), word);
        }
        case 3:
            return Wide("null");
        }
        const Text text = Mended(TakeText(mChoices));
        Put(node, key, Value::OfText(U_Any::kType_String, text), {});
        return U_Any(text).GetAs_JSON();
    }

    static Text Put(Node& node, const Text* key, const Value& value, const std::string& text)
    {
        if (key)
            node.Put(*key, value);
        else
            node.mChildren.push_back({Text(), {value, {}}});
        return Wide(text);
    }

    void AddMember(Text& text, Node& node, const Text* key, int depth)
    {
        AddSpace(text);
        text += Member(node, key, depth);
        if (!key || (text.back() != '}' && text.back() != ']')) // such a blank ends an object
            AddSpace(text);
    }

    void AddSpace(Text& text)
    {
        static const char* const kSpaces[] = {"", "", "", " ", "\r\n\t"};
        text += Wide(mChoices.Of(kSpaces));
    }

    Choices& mChoices;
};

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
                                                             : U_Any(text).GetAs_JSON());
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
        U_AnyTreeWrapper(*place.mReal).SetFrom_JSON(JSONText(choices).Object(*place.mNode, 2));
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
        Require(wrapper.is_array() == node.IsArray());
        try
        {
            RequireSame(wrapper.get_child_any(path),
                        node.At(path) ? node.At(path)->mValue : Value());
            Require(node.At(path));
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
        Text json = Wide("{");
        WriteJSON(*place.mReal, *place.mNode, json);
        Require(wrapper.GetAs_JSON() == json + Wide("}"));
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
    Value mExpected[3] = {Value::OfInteger(U_Any::kType_Bool, 0, "false"),
                          Value::OfInteger(U_Any::kType_Bool, 0, "false"),
                          Value::OfInteger(U_Any::kType_Bool, 0, "false")};
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
