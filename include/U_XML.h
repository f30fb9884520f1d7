// XML elements, escaping, and binary data as text. The library reads and writes no XML itself:
// a host's readers and writers fill the elements and call the functions. All text is UTF-8.
//
//     const U_u8 bytes[] = {1, 171};
//     U_XML_Element element(U_UTF8String(4, 'a'), 7);
//     element.SetAttributeLong("count", 12, false);
//     element.SetBodyText(U_BinaryDataToUTF8String(2, bytes)); // "01ab"
//     int count = 0;
//     const bool found = element.GetAttributeValueLong("count", &count, false, true); // true, 12
//
// Thread safety: the functions may be called on any thread, an element is for one thread at a
// time.
//
// REQUIRES: no pointer is null, unless the function says otherwise.
// Failures: without memory the functions throw std::bad_alloc, unless they say otherwise, and an
// element is unchanged.

#ifndef U_XML_H
#define U_XML_H

#include <map>
#include <utility>

#include "U_Alloc.h"
#include "U_MemServices.h"
#include "U_Types.h"

// One element. new allocates it in the library's heap, which counts as use. The texts of the
// element do not count.
class U_EXPORT U_XML_Element : public U_MemTrackedObject
{
public:
    typedef std::map<U_UTF8String, U_UTF8String> Attributes; // in byte order of the names

    // Makes an invalid element, without a name and with the type -1.
    U_XML_Element();

    // `type` is a number of the caller's choice. -1 makes the element invalid.
    U_XML_Element(const U_UTF8String& name, int type);

    // Copy all parts of the element.
    U_XML_Element(const U_XML_Element& other);
    U_XML_Element& operator=(const U_XML_Element& other);
    virtual ~U_XML_Element();

    bool IsValid() const; // true if the type is not -1
    // Return the type and the name that the constructor got.
    int GetType() const;
    U_UTF8String GetName() const;

    // Return or replace the parts of the element, which are empty at first.
    U_UTF8String GetNamespace() const;
    U_UTF8String GetBodyText() const;
    U_UTF8String GetCDataSection() const;
    void SetNamespace(const U_UTF8String& name);
    void SetBodyText(const U_UTF8String& text);
    void SetCDataSection(const U_UTF8String& text);

    // Return the ends of a walk over the attributes.
    Attributes::const_iterator GetAttrsBegin() const;
    Attributes::const_iterator GetAttrsEnd() const;

    // Set or replace an attribute. A number is written in decimal or hexadecimal digits, a bool as
    // 1 or 0.
    void SetAttribute(const U_UTF8String& name, const U_UTF8String& value);
    void SetAttribute(const char* name, const U_UTF8String& value);
    void SetAttributeLong(const char* name, int value, bool hex);
    void SetAttributeBool(const char* name, bool value);

    // Store the value of an attribute, or the empty text, 0 or false if there is none. A number is
    // read up to the first character that does not belong to it, is 0 if the text begins with
    // none, and is clamped to the range of an int, in hexadecimal digits to 32 bits. A bool is
    // true for any number but 0.
    //
    // Returns: true if the attribute exists.
    // Throws: with `reportMissing`, the missing attribute is reported as a problem first, which
    // throws as U_ReportError does (U_Report.h); `*value` is unchanged then.
    bool GetAttributeValue(const U_UTF8String& name, U_UTF8String* value, bool reportMissing) const;
    bool GetAttributeValue(const char* name, U_UTF8String* value, bool reportMissing) const;
    bool GetAttributeValueLong(const char* name, int* value, bool hex, bool reportMissing) const;
    bool GetAttributeValueBool(const char* name, bool* value, bool hex) const;

private:
    Attributes mAttributes;
    U_UTF8String mName;
    U_UTF8String mBodyText;
    U_UTF8String mCDataSection;
    U_UTF8String mNamespace;
    int mType;
};

// Return text that is escaped for the value of an attribute or for the body of an element: tab,
// line feed, carriage return, "&", "<" and ">" become entities, in an attribute also both straight
// quotes. The other control characters are illegal in XML and are left out.
//
// - `reportIllegal`: each illegal character but NUL is reported.
// - `throwOnIllegal`: the first illegal character but NUL is reported and ends the call.
//
// Throws: with `throwOnIllegal`, the int 1.
U_EXPORT U_UTF8String U_EscapeAttributeValueToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                                      bool throwOnIllegal);
U_EXPORT U_UTF8String U_EscapeBodyTextToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                                bool throwOnIllegal);

// Return text in which the entities that the function above writes for the same place are
// characters again. Any other text between an "&" and the next ";" is unchanged.
U_EXPORT U_UTF8String U_UnEscapeXMLAttributeValue(const U_UTF8String& text);
U_EXPORT U_UTF8String U_UnEscapeXMLBodyText(const U_UTF8String& text);

// Owns an array of bytes, which counts as use.
template <class T> class U_ScAutoArray
{
    static_assert(sizeof(T) == 1, "a count of bytes is charged");

public:
    U_ScAutoArray() = default;

    // Takes ownership of `array`.
    //
    // REQUIRES: new[] has allocated `count` elements, 0 or more, or `array` is null and `count` 0.
    U_ScAutoArray(T* array, int count) : mArray(array), mCount(count)
    {
        U_AccountAllocationEx(static_cast<U_u64>(count), true);
    }
    ~U_ScAutoArray()
    {
        delete[] mArray;
        U_AccountAllocationEx(static_cast<U_u64>(mCount), false);
    }
    U_ScAutoArray(const U_ScAutoArray&) = delete;
    U_ScAutoArray& operator=(const U_ScAutoArray&) = delete;

    T* Get() const { return mArray; }    // stays owned by this object
    int Count() const { return mCount; } // of bytes

    // Exchanges the arrays of two owners.
    void Swap(U_ScAutoArray& other) noexcept
    {
        std::swap(mArray, other.mArray);
        std::swap(mCount, other.mCount);
    }

private:
    T* mArray = nullptr;
    int mCount = 0;
};

// Returns two lower-case hexadecimal digits for each of `size` bytes; empty for null data and for
// a size of 0 or less.
U_EXPORT U_UTF8String U_BinaryDataToUTF8String(int size, const void* data);

// Replaces the contents of `*data` by one byte for each pair of lower-case hexadecimal digits. An
// empty text changes nothing.
//
// Throws: the int 4 if there is no memory, and for text of 4 GiB or more; `*data` is unchanged.
// While the library is alive, this failure is not shown to the user.
// Failures: any other character counts as the digit 0. A single digit at the end is ignored. If a
// pair begins with NUL, its byte and all later ones are 0.
U_EXPORT void U_UTF8StringToBinaryData(const U_UTF8String& text,
                                       U_ScAutoArray<unsigned char>* data);

#endif
