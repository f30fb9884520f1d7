#include "U_Any.h"

#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>

#include <krobase/format.h>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "indep/data/JSON.h"

using krobase::utility::NumberToString;

namespace
{
const unsigned int kWriteFlags =
    krobase::utility::kNumberNoLocaleMarks | krobase::utility::kNumberStripZeros;
const std::size_t kDecimals = 9;
const int kLongestDouble = 31; // characters

struct KnownType
{
    const std::type_info& mHeld;
    U_Any::TypeEnum mKind;
};

const KnownType kKnownTypes[] = {
    {typeid(void*), U_Any::kType_Null},
    {typeid(bool), U_Any::kType_Bool},
    {typeid(int), U_Any::kType_Bool}, // U_Any(int) sets kType_Int without a look-up
    {typeid(unsigned int), U_Any::kType_Int},
    {typeid(short), U_Any::kType_Int},
    {typeid(unsigned short), U_Any::kType_Int},
    {typeid(long), U_Any::kType_Int},
    {typeid(unsigned long), U_Any::kType_Int},
    {typeid(U_i64), U_Any::kType_Int},
    {typeid(U_u64), U_Any::kType_Int},
    {typeid(float), U_Any::kType_Double},
    {typeid(double), U_Any::kType_Double},
    {typeid(U_UTF16String), U_Any::kType_String},
    {typeid(std::string), U_Any::kType_MBString},
    {typeid(U_AnyTree), U_Any::kType_Tree},
};

// Truncates toward zero and clamps to the range. NaN becomes 0.
U_i64 Truncated(double value)
{
    typedef std::numeric_limits<U_i64> Limits;
    const double kBeyond = 9223372036854775808.0; // 2 to the 63rd
    if (std::isnan(value))
        return 0;
    if (value >= kBeyond)
        return Limits::max();
    return value < -kBeyond ? Limits::min() : static_cast<U_i64>(value);
}

// Throws boost::bad_any_cast if the value holds no signed integer.
U_i64 HeldInteger(const boost::any& value)
{
    if (const U_i64* held = boost::any_cast<U_i64>(&value))
        return *held;
    if (const short* held = boost::any_cast<short>(&value))
        return *held;
    if (const long* held = boost::any_cast<long>(&value))
        return *held;
    return boost::any_cast<const int&>(value);
}

U_i64 HeldBool(const boost::any& value)
{
    const bool* const held = boost::any_cast<bool>(&value);
    return held ? *held : boost::any_cast<const int&>(value);
}

// A whole number gets ".0", so that its text reads as a double.
U_UTF16String DoubleAsText(double value)
{
    U_UTF16String text = NumberToString(value, 1, kDecimals, kWriteFlags, kLongestDouble);
    if (std::floor(value) == value) // false for NaN
        AppendASCII(".0", &text);
    return text;
}
} // namespace

U_Any::U_Any() : mValue(0), mType(kType_Null) {}
U_Any::U_Any(bool value) : mValue(value), mType(kType_Bool) {}
U_Any::U_Any(int value) : mValue(value), mType(kType_Int) {}
U_Any::U_Any(U_i64 value) : mValue(value), mType(kType_Int) {}
U_Any::U_Any(double value) : mValue(value), mType(kType_Double) {}
U_Any::U_Any(const char* text) : mValue(std::string(text)), mType(kType_MBString) {}
U_Any::U_Any(const std::string& text) : mValue(text), mType(kType_MBString) {}
U_Any::U_Any(const U_UTF16String& text) : mValue(text), mType(kType_String) {}
U_Any::U_Any(U_UTF16String&& text) : mValue(std::move(text)), mType(kType_String) {}
U_Any::U_Any(const boost::any& value) : mValue(value), mType(InferredType()) {}

U_Any::TypeEnum U_Any::InferredType() const
{
    for (const KnownType& known : kKnownTypes)
    {
        if (mValue.type() == known.mHeld)
            return known.mKind;
    }
    return kType_None;
}

U_Any::TypeEnum U_Any::GetType() const
{
    if (mType != kType_Null)
        return mType;
    const TypeEnum inferred = InferredType();
    if (inferred != kType_Null) // no write for a void*: threads may read its kind at the same time
        mType = inferred;
    return inferred;
}

U_i64 U_Any::GetAs_int() const
{
    switch (GetType())
    {
    case kType_Bool:
        return HeldBool(mValue);
    case kType_Int:
    case kType_Enum:
        return HeldInteger(mValue);
    case kType_Double:
        return Truncated(GetAs_double());
    case kType_String:
    case kType_MBString:
        return IntegerInText(GetAs_Str());
    default:
        return 0;
    }
}

U_i64 U_Any::GetAs_Enum() const
{
    return GetAs_int();
}

bool U_Any::GetAs_bool() const
{
    return GetAs_int() != 0;
}

double U_Any::GetAs_double() const
{
    switch (GetType())
    {
    case kType_Bool:
    case kType_Int:
    case kType_Enum:
        return static_cast<double>(GetAs_int());
    case kType_Double:
        return boost::any_cast<const double&>(mValue);
    case kType_String:
    case kType_MBString:
        return DoubleInText(GetAs_Str());
    default:
        return 0;
    }
}

U_UTF16String U_Any::GetAs_Str() const
{
    switch (GetType())
    {
    case kType_Bool:
        return U_AsciiToUTF16String(GetAs_bool() ? "true" : "false");
    case kType_Int:
    case kType_Enum:
        return U_AsciiToUTF16String(std::to_string(GetAs_int()).c_str());
    case kType_Double:
        return DoubleAsText(GetAs_double());
    case kType_String:
        return boost::any_cast<const U_UTF16String&>(mValue);
    case kType_MBString:
        return U_MBToUTF16String(boost::any_cast<const std::string&>(mValue));
    case kType_Tree:
        return U_AsciiToUTF16String("<tree>");
    default:
        return U_UTF16String();
    }
}

std::string U_Any::GetAs_MBStr() const
{
    return U_UTF16ToMBString(GetAs_Str(), false);
}

U_UTF16String U_Any::GetAs_JSON() const
{
    U_UTF16String json;
    AppendJSON(&json);
    return json;
}

void U_Any::AppendJSON(U_UTF16String* json) const
{
    switch (GetType())
    {
    case kType_Null:
        AppendASCII("null", json);
        break;
    case kType_Bool:
        AppendASCII(GetAs_bool() ? "true" : "false", json);
        break;
    case kType_Int:
    case kType_Enum:
        AppendASCII(std::to_string(GetAs_int()), json);
        break;
    case kType_Double:
        *json += GetAs_Str();
        break;
    case kType_String:
        AppendJSONString(boost::any_cast<const U_UTF16String&>(mValue), json);
        break;
    case kType_MBString:
        AppendJSONString(GetAs_Str(), json);
        break;
    default:
        break;
    }
}

bool U_Any::IsNumeric() const
{
    switch (GetType())
    {
    case kType_Int:
    case kType_Double:
    case kType_Enum:
        return true;
    case kType_String:
    case kType_MBString:
    {
        const std::string text = GetAs_MBStr();
        return !text.empty() && text.find_first_not_of("-.,0123456789") == std::string::npos;
    }
    default:
        return false;
    }
}

void U_Any::SetFrom_JSON(const U_UTF16String& json)
{
    mValue = ReadJSONString(json.data(), json.data() + json.size());
    mType = kType_String;
}

boost::optional<boost::any> U_AnyTranslator::get_value(const U_Any& value)
{
    return boost::any(value);
}

boost::optional<U_Any> U_AnyTranslator::put_value(const boost::any& value)
{
    return U_Any(value);
}
