// A model of values: the results of all conversions of a variant, by the type and value that it
// was made of.

#ifndef FUZZ_VALUE_MODEL_H
#define FUZZ_VALUE_MODEL_H

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "U_AnyTree.h"
#include "json.h"
#include "library.h"
#include "model.h"

typedef U_UTF16String Text;

// Returns the longest number at the head of the text, without white space before it.
inline std::string NumberOf(const std::string& text)
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

inline U_i64 Clamped(long double value)
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
inline std::string NumberText(double value)
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

    // An int in a boost::any is a truth, too.
    static Value OfTruth(U_i64 value)
    {
        return {U_Any::kType_Bool, value, static_cast<double>(value),
                Wide(value ? "true" : "false"), false};
    }

    static Value Of(bool value) { return OfTruth(value); }
    static Value Of(int value) { return Of(U_i64(value)); }
    static Value Of(U_i64 value)
    {
        return {U_Any::kType_Int, value, static_cast<double>(value), Wide(std::to_string(value)),
                true};
    }
    static Value Of(double value)
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

    bool IsText() const { return mKind == U_Any::kType_String || mKind == U_Any::kType_MBString; }

    // REQUIRES: there is a text.
    Text JSON() const
    {
        if (IsText())
            return Literal(Mended(*mText));
        if (mKind == U_Any::kType_Null)
            return Wide("null");
        return mKind == U_Any::kType_Tree ? Text() : *mText;
    }

    static Value OfTree() { return {U_Any::kType_Tree, 0, 0.0, Wide("<tree>"), false}; }
};

template <typename Result, typename Call>
void RequireResult(const std::optional<Result>& expected, const Call& call)
{
    try
    {
        const Result result = call();
        const bool isNaN = result != result;
        Require(expected && (isNaN ? *expected != *expected : result == *expected));
    }
    catch (const boost::bad_any_cast&)
    {
        Require(!expected);
    }
}

inline void RequireSame(const U_Any& real, const Value& value)
{
    Require(real.GetType() == value.mKind);
    Require(real.IsNumeric() == value.mIsNumeric);
    RequireResult(value.mInteger, [&] { return real.GetAs_int(); });
    RequireResult(value.mDouble, [&] { return real.GetAs_double(); });
    RequireResult(value.mText, [&] { return real.GetAs_Str(); });
    std::optional<bool> truth;
    std::optional<std::string> bytes;
    std::optional<Text> literal;
    if (value.mText)
    {
        truth = *value.mInteger != 0;
        bytes = BytesOf(*value.mText);
        literal = value.JSON();
    }
    Text json;
    RequireResult(value.mInteger, [&] { return real.GetAs_Enum(); });
    RequireResult(truth, [&] { return real.GetAs_bool(); });
    RequireResult(bytes, [&] { return real.GetAs_MBStr(); });
    RequireResult(literal, [&] { return Canonical(json = real.GetAs_JSON()); });
    if (value.IsText())
    {
        U_Any again(true);
        again.SetFrom_JSON(json);
        Require(again.GetType() == U_Any::kType_String &&
                again.GetAs_Str() == Mended(*value.mText));
    }
}

const char kAboveMost[] = "9223372036854775808";
const char kBelowLeast[] = "-9223372036854775809";
const char* const kTexts[] = {"",     "true",  "TRUE",    "True", "false",    "12",
                              "-7",   "1.5e2", " 42x",    "1e99", "-.5",      "1-2,3",
                              "3.",   "+8",    "\"\\/\n", "null", kAboveMost, kBelowLeast,
                              "0x10", "inf",   "1e",      "."};
const U_i64 kIntegers[] = {
    0, 1, -1, 12, 1ll << 40, std::numeric_limits<U_i64>::max(), std::numeric_limits<U_i64>::min()};
const double kDigits = 123456789.123456789;
const double kDoubles[] = {0.0,   0.5,  -2.7,  2.0,    1e9,     1e21,     1e22,      1e35,
                           1e300, -0.0, 1e-12, -1e-12, kDigits, HUGE_VAL, -HUGE_VAL, NAN};

inline U_i64 TakeInteger(Choices& choices)
{
    const std::size_t choice = choices.Below(16);
    return choice < std::size(kIntegers) ? kIntegers[choice]
                                         : static_cast<U_i64>(choices.Below(65536)) - 32768;
}

inline double TakeDouble(Choices& choices)
{
    const std::size_t choice = choices.Below(32);
    return choice < std::size(kDoubles) ? kDoubles[choice]
                                        : static_cast<double>(TakeInteger(choices)) / 64;
}

inline Text TakeText(Choices& choices)
{
    static const Text kWide[] = {{'e', 0xE9, 0x20AC}, {0xD83D, 0xDE00}, {0xD800, 'x'}, {1, 0x2028}};
    const std::size_t choice = choices.Below(std::size(kTexts) + std::size(kWide));
    return choice < std::size(kTexts) ? Wide(kTexts[choice]) : kWide[choice - std::size(kTexts)];
}

template <typename Held> std::pair<U_Any, Value> Both(Held value)
{
    return {value, Value::Of(value)};
}

inline std::pair<U_Any, Value> TakeValue(Choices& choices)
{
    const std::size_t sort = choices.Below(16);
    switch (sort)
    {
    case 0:
        return Both(choices.Flag());
    case 1:
        return Both(static_cast<int>(TakeInteger(choices)));
    case 2:
        return Both(TakeInteger(choices));
    case 3:
        return Both(TakeDouble(choices));
    case 4:
    {
        const char* const text = choices.Of(kTexts);
        return {choices.Flag() ? U_Any(text) : U_Any(boost::any(std::string(text))),
                Value::OfText(U_Any::kType_MBString, Wide(text))};
    }
    case 5:
    {
        const int value = static_cast<int>(TakeInteger(choices));
        return {boost::any(value), Value::OfTruth(value)};
    }
    case 6:
    {
        const short value = static_cast<short>(TakeInteger(choices));
        return {boost::any(value), Value::Of(int(value))};
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
        return {U_Any(), Value::Of(false)};
    default:
        const Text text = TakeText(choices);
        return {sort == 13 ? U_Any(boost::any(text)) : U_Any(text),
                Value::OfText(U_Any::kType_String, text)};
    }
}

#endif
