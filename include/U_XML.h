// XML elements, escaping, and binary data as text. The library reads and writes
// no XML itself: a host's readers and writers fill the elements and call the
// functions. All text is UTF-8. No pointer may be null unless told otherwise. The
// functions may be called on any thread, an element by one thread at a time. Without
// memory they throw std::bad_alloc unless told otherwise, and an element stays as it was.

#ifndef U_XML_H
#define U_XML_H

#include <map>
#include <utility>

#include "U_Alloc.h"
#include "U_MemServices.h"
#include "U_Types.h"

// One element. It lives in the library's heap and counts as use, apart from its
// texts.
class U_EXPORT U_XML_Element : public U_MemTrackedObject
{
public:
    typedef std::map<U_UTF8String, U_UTF8String> Attributes; // in byte order of the names

    // An invalid element, without a name and of the type -1.
    U_XML_Element();

    // The type is the caller's own number.
    U_XML_Element(const U_UTF8String& name, int type);

    U_XML_Element(const U_XML_Element& other);
    U_XML_Element& operator=(const U_XML_Element& other);
    virtual ~U_XML_Element();

    bool IsValid() const; // whether the type isn't -1
    int GetType() const;
    U_UTF8String GetName() const;

    U_UTF8String GetNamespace() const;
    U_UTF8String GetBodyText() const;
    U_UTF8String GetCDataSection() const;
    void SetNamespace(const U_UTF8String& name);
    void SetBodyText(const U_UTF8String& text);
    void SetCDataSection(const U_UTF8String& text);

    Attributes::const_iterator GetAttrsBegin() const;
    Attributes::const_iterator GetAttrsEnd() const;

    // Set an attribute or replace it: a number in decimal or hexadecimal digits, a
    // bool as 1 or 0.
    void SetAttribute(const U_UTF8String& name, const U_UTF8String& value);
    void SetAttribute(const char* name, const U_UTF8String& value);
    void SetAttributeLong(const char* name, int value, bool hex);
    void SetAttributeBool(const char* name, bool value);

    // Store an attribute's value and tell whether there is one; if not they store the
    // empty text, 0 or false, and with reportMissing report a problem first, which
    // throws as U_ReportError does, with the value as it was. A number is read as far
    // as the text is one, 0 if it begins none, and held to the range of what it is
    // stored in; a bool is a number that isn't 0.
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

// Escape text to stand in an element's body or in an attribute's value: tab, line
// feed, carriage return, "&", "<" and ">" as entities, in an attribute also both
// straight quotes. Other control characters are illegal in XML and left out; NUL
// silently, the others with a report each if reportIllegal, and with a report
// and the thrown int 1 at the first if throwOnIllegal.
U_EXPORT U_UTF8String U_EscapeAttributeValueToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                                      bool throwOnIllegal);
U_EXPORT U_UTF8String U_EscapeBodyTextToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                                bool throwOnIllegal);

// Undo that. Any other entity, and all that stands between an "&" and the next
// ";", stays as it is.
U_EXPORT U_UTF8String U_UnEscapeXMLAttributeValue(const U_UTF8String& text);
U_EXPORT U_UTF8String U_UnEscapeXMLBodyText(const U_UTF8String& text);

// An array of bytes that goes with its scope, and counts as use until then.
template <class T> class U_ScAutoArray
{
    static_assert(sizeof(T) == 1, "a count of bytes is charged");

public:
    U_ScAutoArray() = default;

    // Takes over an array of count elements, 0 or more, that was allocated with
    // new[], or null with a count of 0.
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

    T* Get() const { return mArray; }
    int Count() const { return mCount; }

    void Swap(U_ScAutoArray& other) noexcept
    {
        std::swap(mArray, other.mArray);
        std::swap(mCount, other.mCount);
    }

private:
    T* mArray = nullptr;
    int mCount = 0;
};

// Two lower-case hexadecimal digits for each of size bytes. Empty for null data and
// for a size of 0 or less.
U_EXPORT U_UTF8String U_BinaryDataToUTF8String(int size, const void* data);

// Replaces the contents of *data by the bytes that pairs of digits stand for; an
// empty text changes nothing. A character that is no lower-case digit counts as
// 0, a single digit at the end is left out. A NUL where a pair begins ends the
// text: the bytes behind are 0. Throws the int 4 if there is no memory, with
// *data as it was, also for text of 4 GiB and more. The user hears nothing of that
// while the library is alive.
U_EXPORT void U_UTF8StringToBinaryData(const U_UTF8String& text,
                                       U_ScAutoArray<unsigned char>* data);

#endif
