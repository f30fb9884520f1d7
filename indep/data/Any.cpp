#include "U_Any.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include <krobase/format.h>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "indep/data/JSON.h"

namespace
{
const std::size_t kDecimals = 9;
const std::size_t kLongestDouble = 31;              // characters
const std::size_t kDoubleRoom = kLongestDouble + 2; // with ".0"
const krobase::utility::NumberLayout kDoubleLayout = {krobase::utility::kNumberNoLocaleMarks |
                                                          krobase::utility::kNumberStripZeros,
                                                      1,
                                                      kDecimals,
                                                      std::numeric_limits<std::size_t>::max(),
                                                      kLongestDouble,
                                                      -1};

struct KnownType
{
    const std::type_info& mHeld;
    U_Any::TypeEnum mKind;
};

const KnownType kKnownTypes[] = {
    {typeid(void*), U_Any::kType_Null},
    {typeid(unsigned int), U_Any::kType_Int},
    {typeid(short), U_Any::kType_Int},
    {typeid(unsigned short), U_Any::kType_Int},
    {typeid(long), U_Any::kType_Int},
    {typeid(unsigned long), U_Any::kType_Int},
    {typeid(U_u64), U_Any::kType_Int},
    {typeid(float), U_Any::kType_Double},
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

// Of a type that is not held in place. Throws boost::bad_any_cast for any other type than signed
// integers.
U_i64 HeldInteger(const boost::any& value)
{
    if (const short* held = boost::any_cast<short>(&value))
        return *held;
    return boost::any_cast<const long&>(value);
}

// A whole number gets ".0", so that its text reads as a double.
std::string_view DoubleAsText(double value, char (&room)[kDoubleRoom])
{
    std::size_t length = krobase::utility::FormatNumber(value, kDoubleLayout, room);
    if (std::floor(value) == value) // false for NaN
    {
        room[length++] = '.';
        room[length++] = '0';
    }
    return {room, length};
}
} // namespace

U_Any::U_Any(const char* text) : U_Any(std::string(text), kType_MBString) {}
U_Any::U_Any(const std::string& text) : U_Any(text, kType_MBString) {}
U_Any::U_Any(const U_UTF16String& text) : U_Any(text, kType_String) {}
U_Any::U_Any(U_UTF16String&& text) : U_Any(std::move(text), kType_String) {}

U_Any::U_Any(const boost::any& value) : U_Any()
{
    if (const bool* held = boost::any_cast<bool>(&value))
        *this = U_Any(*held);
    else if (const int* number = boost::any_cast<int>(&value))
        *this = U_Any(*number);
    else if (const U_i64* integer = boost::any_cast<U_i64>(&value))
        *this = U_Any(*integer);
    else if (const double* real = boost::any_cast<double>(&value))
        *this = U_Any(*real);
    else
        *this = U_Any(value, kType_None);
    mType = InferredType();
}

U_Any::TypeEnum U_Any::InferredType() const
{
    if (mHeld != kAny)
        return mHeld == kDouble ? kType_Double : mHeld == kInt64 ? kType_Int : kType_Bool;
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

U_i64 U_Any::ConvertedToInt() const
{
    switch (GetType())
    {
    case kType_Bool:
    case kType_Int:
    case kType_Enum:
        return mHeld == kAny ? HeldInteger(mValue) : mInteger;
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
        return mHeld == kDouble ? mDouble : boost::any_cast<const double&>(mValue);
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
    {
        char digits[kDoubleRoom];
        const std::string_view text = DoubleAsText(GetAs_double(), digits);
        return U_UTF16String(text.begin(), text.end());
    }
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
    Up_JSONWriter writer;
    WriteJSON(&writer);
    return writer.TakeText();
}

void U_Any::WriteJSON(Up_JSONWriter* writer) const
{
    switch (GetType())
    {
    case kType_Null:
        writer->PutASCII("null");
        break;
    case kType_Bool:
        writer->PutASCII(GetAs_bool() ? "true" : "false");
        break;
    case kType_Int:
    case kType_Enum:
    {
        char digits[std::numeric_limits<U_i64>::digits10 + 2];
        const char* const end =
            std::to_chars(std::begin(digits), std::end(digits), GetAs_int()).ptr;
        writer->PutASCII({digits, static_cast<std::size_t>(end - digits)});
        break;
    }
    case kType_Double:
    {
        char digits[kDoubleRoom];
        writer->PutASCII(DoubleAsText(GetAs_double(), digits));
        break;
    }
    case kType_String:
        writer->PutString(boost::any_cast<const U_UTF16String&>(mValue));
        break;
    case kType_MBString:
        writer->PutString(GetAs_Str());
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
    U_UTF16String text;
    ReadJSONString(json.data(), json.data() + json.size(), &text);
    *this = U_Any(std::move(text));
}

boost::optional<boost::any> U_AnyTranslator::get_value(const U_Any& value)
{
    return boost::any(value);
}

boost::optional<U_Any> U_AnyTranslator::put_value(const boost::any& value)
{
    return U_Any(value);
}
