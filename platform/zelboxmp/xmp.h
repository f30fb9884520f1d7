// XMP metadata: objects that hold properties and write themselves as a packet. Clients call
// the toolkit by numbered entry points.
//
//     __XMPMeta__* const metadata = zelboxmp::NewMetadata();
//     zelboxmp::SetProperty(metadata, "http://example.com/", "Author", "A. Author");
//     zelboxmp::Ordinal6(metadata);
//
// Thread safety: all functions may be called on any thread, also with one object at once.

#ifndef ZELBOXMP_XMP_H
#define ZELBOXMP_XMP_H

#include <string>

#include <platform/base/export.h>

struct __XMPMeta__; // opaque; counts its references

namespace zelboxmp
{
// The result of a call. The toolkit stores it only on an error; callers clear it before the
// call.
struct Result
{
    const char* errorText; // static; never freed
    void* pointerValue;
    double floatValue;
    long long integerValue;
    unsigned int errorCode;
};

enum ErrorCode : unsigned int
{
    kErrorBadSettings = 1,  // settings of the packet that this toolkit does not support
    kErrorBadName = 2,      // a property's name is no name in XML, or its namespace is empty
                            // or reserved for "xml" or "xmlns"
    kErrorBadCharacter = 3, // not UTF-8, or a character that XML does not allow
    kErrorNoMemory = 4,
    kErrorTooLong = 5 // the packet's length does not fit 32 bits
};

// Returns a new object without properties. The caller owns its only reference.
//
// Throws: std::bad_alloc.
PLATFORM_EXPORT __XMPMeta__* NewMetadata();

// Adds or replaces a property. Texts are UTF-8, and are checked when the packet is written.
//
// Throws: std::bad_alloc; then the object is left as it was.
PLATFORM_EXPORT void SetProperty(__XMPMeta__* metadata, const std::string& namespaceName,
                                 const std::string& name, const std::string& value);

// For hosts that look for leaks: return the number of references to an object, and the number
// of objects that are not freed.
PLATFORM_EXPORT unsigned int ReferenceCount(__XMPMeta__* metadata);
PLATFORM_EXPORT unsigned int LiveMetadata();

// Add a reference, and remove a reference. Removal of the last reference frees the object.
//
// Ordering: all that other threads did with the object happens before the object is freed.
PLATFORM_EXPORT void Ordinal5(__XMPMeta__* metadata);
PLATFORM_EXPORT void Ordinal6(__XMPMeta__* metadata);

// Receives a packet for a client's string. The text is valid until the function returns.
typedef void (*StoreText)(void* clientString, const char* text, unsigned int length);

// Writes the object as a packet, in UTF-8 and on one line, and calls `store` once with the
// packet, and with no lock held.
//
// options, padding, newline, indent, baseIndent: 0, null or empty; anything else is
//   kErrorBadSettings.
// Throws: the exceptions of `store`, except for std::bad_alloc and an ErrorCode, which become the
//   result.
// Failures: the error is stored in `result`, and `store` is not called.
PLATFORM_EXPORT void Ordinal61(__XMPMeta__* metadata, void* clientString, unsigned int options,
                               unsigned int padding, const char* newline, const char* indent,
                               int baseIndent, StoreText store, Result* result);
} // namespace zelboxmp

#endif
