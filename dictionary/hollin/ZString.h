// An immutable UTF-16 text that copies share.
//
// Counts aren't atomic: one thread at a time uses a text and its copies.
// Lengths are in units, without a terminator unless told otherwise.

#ifndef HOLLIN_ZSTRING_H
#define HOLLIN_ZSTRING_H

#include <cstdint>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "hollin/ConversionHooks.h"

namespace hollin_private
{
class ByteRunValue;
void intrusive_ptr_add_ref(ByteRunValue* value);
void intrusive_ptr_release(ByteRunValue* value);
} // namespace hollin_private

namespace hollin
{
class ZString
{
public:
    // The empty text.
    ZString() = default;

    // From bytes in an encoding. Throw a VoErrException if the system refuses.
    ZString(const char* bytes, std::uint32_t length, TextEncoding encoding);
    explicit ZString(const char* text, TextEncoding encoding = nullptr);

    // From a text whose first byte is its length.
    static ZString FromPascal(const unsigned char* text, TextEncoding encoding = nullptr);

    // From units, which are copied; from a number in decimal.
    ZString(const std::uint16_t* units, std::uint32_t count);
    static ZString FromNumber(std::int32_t number);

    // From units as they are stored, at any address. length is in bytes; an odd
    // last one is left out.
    static ZString FromStored(const void* bytes, std::uint32_t length);

    // The text of a ZString literal in the registered dictionary of a domain.
    static ZString FromDomain(std::uint32_t domain, const char* zstring,
                              TextEncoding encoding = nullptr);

    std::uint32_t Length() const;
    std::uint32_t LengthWithTerminator() const { return Length() + 1; }

    // Not terminated; null for the empty text.
    const std::uint16_t* Data() const;

    // Copies at most size - 1 units and a terminator. A cut leaves no half of a
    // surrogate pair behind, so that it may copy one unit less. Throws "BUFF" if the text
    // didn't fit and throwIfShort is set.
    void CopyTo(std::uint16_t* units, std::uint32_t size, bool throwIfShort) const;

    // The same as bytes, size being in bytes. A null buffer throws "BUFF".
    void ToMultibyte(char* bytes, std::uint32_t size, bool throwIfShort,
                     TextEncoding encoding = nullptr) const;
    void ToPascal(unsigned char* bytes, std::uint32_t size, bool throwIfShort,
                  TextEncoding encoding = nullptr) const;

    // Bytes needed, with a terminator.
    std::uint32_t MultibyteLength(TextEncoding encoding = nullptr) const;

    // Negative, 0 or positive, by the compare hook.
    std::int32_t Compare(const ZString& other) const;

    // How many times the parameter ^n stands in the text, n from 0 to 9; and all
    // of them replaced.
    unsigned int HasParameter(int n) const;
    void ReplaceParameter(int n, const ZString& text);

    // Replaces the placeholder <param name="NAME"/> that is the occurrence-th
    // of its name, from 1 on. False if there is none.
    bool ReplaceXMLParameter(const char* name, const ZString& text, int occurrence);

    // An optional "+" or "-", then decimal digits of any script. False if some other
    // character stands among them, which is skipped.
    bool ToInteger(std::int32_t* out) const;

    bool IsBlank() const; // also for the empty text
    void TrimSpaces();
    void EllipsisToDots();
    void RemoveEllipsis();
    bool RemoveExtension(); // false if there is none
    void ColonsToHyphens();

    // Cuts a shortcut, which begins with a space and U+0008, and removes the
    // ampersands that mark mnemonics; "&&" gives "&".
    void StripMnemonics();

private:
    explicit ZString(boost::intrusive_ptr<hollin_private::ByteRunValue> text);
    void Assign(const std::uint16_t* units, std::size_t count);

    boost::intrusive_ptr<hollin_private::ByteRunValue> mText; // null for the empty text
};

inline bool operator==(const ZString& left, const ZString& right)
{
    return left.Compare(right) == 0;
}
inline bool operator!=(const ZString& left, const ZString& right)
{
    return left.Compare(right) != 0;
}
inline bool operator<(const ZString& left, const ZString& right)
{
    return left.Compare(right) < 0;
}
inline bool operator>(const ZString& left, const ZString& right)
{
    return left.Compare(right) > 0;
}
inline bool operator<=(const ZString& left, const ZString& right)
{
    return left.Compare(right) <= 0;
}
inline bool operator>=(const ZString& left, const ZString& right)
{
    return left.Compare(right) >= 0;
}

// Facts of a unit. DigitValue is 0 to 9, or 255 for what is no digit.
unsigned char DigitValue(std::uint16_t unit);
bool IsSpace(std::uint16_t unit);
bool IsMinus(std::uint16_t unit);
bool IsPlus(std::uint16_t unit);
} // namespace hollin

#endif
