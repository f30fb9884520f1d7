// The variant for loosely typed data. Any value converts to an integer, a double, a bool, a
// string or JSON text.
//
//     U_Any value("12");
//     const U_i64 number = value.GetAs_int(); // 12
//     value = 2.5;
//     const U_UTF16String text = value.GetAs_Str(); // "2.5"
//     const bool isEqual = value.GetAs_int() == number; // false: 2 is not 12
//
// A variant holds a value and its kind. The kind may be undecided: the first call that needs the
// kind infers it from the held type, also for a const object. Narrow text is multibyte text in
// the active code page.
//
// Thread safety: as a plain value, but threads may read one object at the same time only after
// its kind is decided.
//
// Failures:
// - A tree, a void*, a type that the library does not know, and no value convert to 0 and to an
//   empty text, unless the function says otherwise.
// - Any other conversion that the held type does not support throws boost::bad_any_cast.
// - Conversions of narrow text fail as those of U_Encoding.h do. Without memory the functions
//   throw std::bad_alloc. The object is unchanged in both cases, as after boost::bad_any_cast.

#ifndef U_ANY_H
#define U_ANY_H

#include <cstring>
#include <new>
#include <string>
#include <utility>

#include <boost/any.hpp>
#include <boost/optional/optional.hpp>
#include <boost/property_tree/ptree_fwd.hpp>

#include "U_Types.h"

class Up_JSONWriter;

// A value of one of several kinds.
class U_EXPORT U_Any
{
public:
    // The kind of a value.
    enum TypeEnum : U_i32
    {
        kType_None = 0, // a type that the library does not know, or no value
        kType_Null = 1, // undecided, or a void*
        kType_Bool = 2,
        kType_Int = 3,
        kType_Double = 4,
        kType_Enum = 5, // converts as an integer; no constructor here sets this kind
        kType_String = 6,
        kType_MBString = 7,
        kType_Tree = 8
    };

    // Holds the int 0 with an undecided kind, which is inferred as kType_Bool.
    U_Any() : mInteger(0), mType(kType_Null), mHeld(kInt) {}

    // Hold the value, with the kind of its type.
    U_Any(bool value) : mInteger(value), mType(kType_Bool), mHeld(kBool) {}
    U_Any(int value) : mInteger(value), mType(kType_Int), mHeld(kInt) {}
    U_Any(U_i64 value) : mInteger(value), mType(kType_Int), mHeld(kInt64) {}
    U_Any(double value) : mDouble(value), mType(kType_Double), mHeld(kDouble) {}
    U_Any(const char* text); // narrow, not null
    U_Any(const std::string& text);
    U_Any(const U_UTF16String& text);
    U_Any(U_UTF16String&& text);

    // Copies a value of any type and infers the kind from the type: kType_Bool for bool and int,
    // kType_Int for the other integers of 16 to 64 bits, kType_Double for float and double, the
    // kinds of strings for std::string and U_UTF16String, whatever number the text spells.
    U_Any(const boost::any& value);

    // Copy the value and the kind.
    U_Any(const U_Any& other) : mType(other.mType), mHeld(other.mHeld)
    {
        if (mHeld == kAny)
            new (&mValue) boost::any(other.mValue);
        else
            CopyInPlace(other);
    }
    U_Any& operator=(const U_Any& other) { return *this = U_Any(other); }

    // `other` has no value afterwards.
    U_Any(U_Any&& other) noexcept { Take(other); }
    U_Any& operator=(U_Any&& other) noexcept
    {
        U_Any taken(std::move(other)); // may be this object
        End();
        Take(taken);
        return *this;
    }

    ~U_Any() { End(); }

    TypeEnum GetType() const; // the kind of the value

    // Returns the value as an integer.
    // - A double is truncated toward zero and clamped to the range; NaN converts to 0.
    // - The texts "TRUE" and "true" are 1, "FALSE" and "false" 0. Any other text is read as a
    //   number, up to the first character that does not belong to the number.
    //
    // Throws: boost::bad_any_cast for a held unsigned integer.
    U_i64 GetAs_int() const
    {
        const bool isInPlace = mType == kType_Int && mHeld != kAny;
        return isInPlace ? mInteger : ConvertedToInt();
    }
    U_i64 GetAs_Enum() const;

    // Returns true if GetAs_int returns other than 0. So 0.5 is false.
    bool GetAs_bool() const;

    // Returns the value as a double.
    //
    // Throws: boost::bad_any_cast for a held float.
    double GetAs_double() const;

    // Returns the value as text: "true" or "false"; decimal digits; a double with up to 9
    // decimals, a whole one with ".0"; "<tree>" for a tree; empty for no value. A double that is
    // not whole but has no digit among 9 decimals is written without decimals ("1", "-0"), and
    // that text reads as an integer.
    U_UTF16String GetAs_Str() const;
    std::string GetAs_MBStr() const;

    // Returns the value as JSON: a string literal for text, "null" for a void*. Empty for a tree,
    // which U_AnyTreeWrapper writes, and for a type that the library does not know.
    //
    // Failures: a double that is infinite, NaN or too long for plain digits is written as its
    // text, which is not JSON ("inf.0", "nan", "1e+40.0"). Half of a surrogate pair is written as
    // U+FFFD.
    U_UTF16String GetAs_JSON() const;

    // Returns true for a number, and for text that has one or more of digits, "-", "." and ","
    // in any order and no other character.
    bool IsNumeric() const;

    // Sets the text of a JSON string literal. Half of a surrogate pair becomes U+FFFD.
    //
    // Throws: boost::bad_any_cast for any other text, and for a literal that escapes half of a
    // surrogate pair; the object is unchanged.
    void SetFrom_JSON(const U_UTF16String& json);

private:
    friend class U_AnyTreeWrapper;
    friend class Up_JSONWriter;

    // The type of the held value.
    enum Held : U_i32
    {
        kAny, // a type that the boost::any knows, or no value
        kBool,
        kInt,
        kInt64,
        kDouble
    };

    // Holds a value in a boost::any, with a kind.
    template <class Value>
    U_Any(Value&& value, TypeEnum type)
        : mValue(std::forward<Value>(value)), mType(type), mHeld(kAny)
    {
    }

    // REQUIRES: `other` holds a value in place.
    void CopyInPlace(const U_Any& other)
    {
        std::memcpy(&mInteger, &other.mInteger, sizeof(mInteger)); // or a double of that size
    }

    // REQUIRES: this object has no value.
    void Take(U_Any& other) noexcept
    {
        mType = other.mType;
        mHeld = other.mHeld;
        if (mHeld == kAny)
            new (&mValue) boost::any(std::move(other.mValue));
        else
        {
            CopyInPlace(other);
            new (&other.mValue) boost::any;
        }
        other.mType = kType_None;
        other.mHeld = kAny;
    }

    void End() noexcept
    {
        if (mHeld == kAny)
            mValue.~any();
    }

    // Cold, so that a compiler that knows the attribute does not put the call between the test and
    // the return of GetAs_int.
    [[gnu::cold]] U_i64 ConvertedToInt() const;

    void WriteJSON(Up_JSONWriter* writer) const;
    TypeEnum InferredType() const;

    // The frequent small types are held in the place of the boost::any, without an allocation.
    union
    {
        boost::any mValue; // kAny
        U_i64 mInteger;    // kBool, kInt and kInt64
        double mDouble;    // kDouble
    };
    mutable TypeEnum mType;
    Held mHeld; // in the padding: a U_Any is as large as with a boost::any alone
};

static_assert(sizeof(double) == sizeof(U_i64) && sizeof(boost::any) <= sizeof(U_i64) &&
                  sizeof(U_Any) == 2 * sizeof(U_i64),
              "a value in place needs no more room than a boost::any");

// The translator of property trees between U_Any and boost::any. get_value returns a boost::any
// that holds the U_Any itself, not its value. put_value makes a U_Any of the value that the
// boost::any holds and infers the kind: a boost::any from get_value becomes kType_None.
struct U_EXPORT U_AnyTranslator
{
    // The types that Boost.PropertyTree asks for.
    typedef U_Any internal_type;
    typedef boost::any external_type;

    // Never fail: the result always holds a value.
    boost::optional<boost::any> get_value(const U_Any& value);
    boost::optional<U_Any> put_value(const boost::any& value);
};

namespace boost
{
namespace property_tree
{
// Selects the translator above.
template <> struct translator_between<U_Any, boost::any>
{
    // The translator.
    typedef U_AnyTranslator type;
};
} // namespace property_tree
} // namespace boost

#endif
