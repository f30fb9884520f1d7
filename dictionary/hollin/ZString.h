// An immutable text in UTF-16 that copies share.
//
//     hollin::ZString text("Page ^1 of ^2");
//     text.ReplaceParameter(1, hollin::ZString::FromNumber(3));
//     text.ReplaceParameter(2, hollin::ZString::FromNumber(7));
//     char buffer[32];
//     text.ToMultibyte(buffer, sizeof buffer, false);
//
// An operation that changes a text replaces this object's text. Copies keep the old one.
// Lengths are in units, without a terminator, unless stated otherwise.
//
// Thread safety: one thread at a time uses a text and its copies, since reference counts
// aren't atomic.

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

    // Convert bytes in an encoding.
    //
    // Throws: VoErrException if the system refuses the bytes, or the text is too long.
    ZString(const char* bytes, std::uint32_t length, TextEncoding encoding);
    explicit ZString(const char* text, TextEncoding encoding = nullptr);

    // Converts a text whose first byte is its length.
    static ZString FromPascal(const unsigned char* text, TextEncoding encoding = nullptr);

    // Copies units.
    ZString(const std::uint16_t* units, std::uint32_t count);

    // Copies UTF-16 at any alignment. `length` is in bytes. The last byte of an odd length is
    // ignored.
    static ZString FromUTF16Bytes(const void* bytes, std::uint32_t length);

    // Returns a number in decimal.
    static ZString FromNumber(std::int32_t number);

    // Returns the text of a ZString literal in the registered dictionary of a domain.
    static ZString FromDomain(std::uint32_t domain, const char* zstring,
                              TextEncoding encoding = nullptr);

    std::uint32_t Length() const;
    std::uint32_t LengthWithTerminator() const { return Length() + 1; }

    // Not terminated. Null for the empty text.
    const std::uint16_t* Data() const;

    // Copies at most size - 1 units and a terminator, or one unit less if a cut would split a
    // surrogate pair.
    //
    // Throws: VoErrException with "BUFF" if the text does not fit and `throwIfShort` is set.
    void CopyTo(std::uint16_t* units, std::uint32_t size, bool throwIfShort) const;

    // CopyTo in an encoding, `size` in bytes. The copy of ToPascal begins with its length, at
    // most 255. A cut splits no character.
    //
    // Throws: VoErrException with "BUFF" for a null buffer, and as CopyTo; VoErrException if
    // the system refuses the text.
    void ToMultibyte(char* bytes, std::uint32_t size, bool throwIfShort,
                     TextEncoding encoding = nullptr) const;
    void ToPascal(unsigned char* bytes, std::uint32_t size, bool throwIfShort,
                  TextEncoding encoding = nullptr) const;

    // Returns the length in bytes, with a terminator.
    std::uint32_t MultibyteLength(TextEncoding encoding = nullptr) const;

    // Returns a negative number, 0 or a positive number, by the compare hook.
    std::int32_t Compare(const ZString& other) const;

    // Returns how often the text has the parameter ^n, n from 0 to 9.
    unsigned int HasParameter(int n) const;

    // Replaces each ^n.
    void ReplaceParameter(int n, const ZString& text);

    // Replaces the placeholder <param name="NAME"/> with the number `occurrence`, from 1, among
    // those of its name. Returns false if there is none.
    bool ReplaceXMLParameter(const char* name, const ZString& text, int occurrence);

    // Reads an optional "+" or "-", then decimal digits of any script. Other characters are
    // skipped, and make the result false.
    bool ToInteger(std::int32_t* out) const;

    bool IsBlank() const; // true for the empty text
    void TrimSpaces();    // of U+0020, at both ends
    void EllipsisToDots();
    void RemoveEllipsis();
    bool RemoveExtension(); // returns false if there is none
    void ColonsToHyphens();

    // Cuts a shortcut, which begins with a space and U+0008, and removes the ampersands that
    // mark mnemonics. "&&" becomes "&".
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

// Properties of a unit. DigitValue returns 0 to 9, or 255 for a unit that is not a digit.
unsigned char DigitValue(std::uint16_t unit);
bool IsSpace(std::uint16_t unit);
bool IsMinus(std::uint16_t unit);
bool IsPlus(std::uint16_t unit);
} // namespace hollin

#endif
