// The variant, in which loosely typed data moves: any value can be asked for as
// an integer, a double, a bool, a string or JSON text.
//
// A value is held with a tag that says what kind it is. A tag that isn't decided
// yet is inferred by the first question, also of a const object: threads may ask
// one object at once only when that is past. Apart from that objects are as safe
// as plain values.
//
// A number or bool of what holds none (a tree, a void*, a type that the library
// doesn't know, no value) is 0, and a text of it empty, as told below. Any other question
// that the held type doesn't answer throws boost::bad_any_cast and leaves the object as
// it was. Narrow text is multibyte
// text in the active code page, and its conversions fail as those of U_Encoding.h do.
// Without memory std::bad_alloc is thrown, with the object as it was.

#ifndef U_ANY_H
#define U_ANY_H

#include <string>
#include <utility>

#include <boost/any.hpp>
#include <boost/optional/optional.hpp>
#include <boost/property_tree/ptree_fwd.hpp>

#include "U_Types.h"

class U_EXPORT U_Any
{
public:
    enum TypeEnum : U_i32
    {
        kType_None = 0, // a type that the library doesn't know, or no value
        kType_Null = 1, // not decided yet, or a void*
        kType_Bool = 2,
        kType_Int = 3,
        kType_Double = 4,
        kType_Enum = 5, // converts like an integer; no constructor here gives it
        kType_String = 6,
        kType_MBString = 7,
        kType_Tree = 8
    };

    // An int of 0 that isn't decided yet, which inference takes for a bool.
    U_Any();

    U_Any(bool value);
    U_Any(int value);
    U_Any(U_i64 value);
    U_Any(double value);
    U_Any(const char* text); // narrow, not null
    U_Any(const std::string& text);
    U_Any(const U_UTF16String& text);
    U_Any(U_UTF16String&& text);

    // Copies a value of any type and infers its kind from the type: bool and int
    // are booleans, the other integers up to 64 bits integers, float and double
    // doubles; strings are strings, whatever they read as.
    U_Any(const boost::any& value);

    U_Any(const U_Any& other) = default;
    U_Any& operator=(const U_Any& other) = default;

    // Leave other without a value.
    U_Any(U_Any&& other) noexcept : mValue(std::move(other.mValue)), mType(other.mType)
    {
        other.mType = kType_None;
    }
    U_Any& operator=(U_Any&& other) noexcept
    {
        U_Any taken(std::move(other));
        mValue.swap(taken.mValue);
        mType = taken.mType;
        return *this;
    }

    TypeEnum GetType() const;

    // As an integer. A double is cut toward zero and held to the range, what is
    // no number gives 0. Of text "TRUE" and "true" are 1, "FALSE" and "false" 0,
    // and any other is read as a number, as far as it is one. Held unsigned
    // integers throw.
    U_i64 GetAs_int() const;
    U_i64 GetAs_Enum() const;
    bool GetAs_bool() const; // whether the integer isn't 0, so 0.5 is false

    // A held float throws.
    double GetAs_double() const;

    // As text: "true" and "false", decimal digits, a whole double with ".0", any
    // other with up to 9 decimals, "<tree>" for a tree; empty if there is no value.
    // What 9 decimals can't tell from a whole number goes without any ("1", "-0"),
    // and reads as an integer.
    U_UTF16String GetAs_Str() const;
    std::string GetAs_MBStr() const;

    // As a JSON value: a literal for text, "null" for a void*. Empty for a tree,
    // which U_AnyTreeWrapper writes, and for a type that isn't known. A double is
    // written as its text, which is no JSON if it is infinite, no number or too
    // long for plain digits ("inf.0", "nan", "1e+40.0"); half of a surrogate pair
    // becomes U+FFFD.
    U_UTF16String GetAs_JSON() const;

    // Whether it is a number, or text of digits, "-", "." and "," alone, in
    // whatever order.
    bool IsNumeric() const;

    // Takes the text of a JSON string literal. Throws boost::bad_any_cast, with
    // the object as it was, if json is anything else, or escapes half of a surrogate
    // pair; half of one that stands there as it is becomes U+FFFD.
    void SetFrom_JSON(const U_UTF16String& json);

private:
    friend class U_AnyTreeWrapper;
    friend class Up_JSONWriter;

    void AppendJSON(U_UTF16String* json) const;
    TypeEnum InferredType() const;

    boost::any mValue;
    mutable TypeEnum mType;
};

// How property trees put and get boost::any. Getting gives a boost::any that holds
// the U_Any itself, not its value; putting makes a U_Any of what the boost::any
// holds, with the kind inferred, so what was got becomes a value of no kind.
struct U_EXPORT U_AnyTranslator
{
    typedef U_Any internal_type;
    typedef boost::any external_type;

    boost::optional<boost::any> get_value(const U_Any& value);
    boost::optional<U_Any> put_value(const boost::any& value);
};

namespace boost
{
namespace property_tree
{
template <> struct translator_between<U_Any, boost::any>
{
    typedef U_AnyTranslator type;
};
} // namespace property_tree
} // namespace boost

#endif
