// Metadata: objects that hold a few properties and write themselves as a packet.
// Clients reach the toolkit by numbered entry points. Any thread; one object may
// be used by several at once.

#ifndef ZELBOXMP_XMP_H
#define ZELBOXMP_XMP_H

#include <string>

#include <platform/base/export.h>

struct __XMPMeta__; // opaque; counts its references

namespace zelboxmp
{
// What went wrong in a call; all zero if nothing did.
struct Result
{
    const char* errorText; // the toolkit's own, stays
    void* pointerValue;
    double floatValue;
    long long integerValue;
    unsigned int errorCode;
};

enum ErrorCode : unsigned int
{
    kErrorBadSettings = 1,  // settings of the packet that this toolkit doesn't know
    kErrorBadName = 2,      // a property's name isn't one of XML, or its namespace is empty
                            // or reserved for "xml" or "xmlns"
    kErrorBadCharacter = 3, // not UTF-8, or a character that XML can't carry
    kErrorNoMemory = 4,
    kErrorTooLong = 5 // for a length of 32 bits
};

// A new object without properties; the caller has its one reference. Throws
// std::bad_alloc.
PLATFORM_EXPORT __XMPMeta__* NewMetadata();

// Sets a property or replaces it. Texts are UTF-8; they are looked at when the
// packet is written. Throws std::bad_alloc, and the object stays as it was.
PLATFORM_EXPORT void SetProperty(__XMPMeta__* metadata, const std::string& namespaceName,
                                 const std::string& name, const std::string& value);

// For hosts that look for lost references: those to an object, and the objects
// that aren't freed.
PLATFORM_EXPORT unsigned int ReferenceCount(__XMPMeta__* metadata);
PLATFORM_EXPORT unsigned int LiveMetadata();

// Add a reference, and take one off, which frees the object if it was the last.
PLATFORM_EXPORT void Ordinal5(__XMPMeta__* metadata);
PLATFORM_EXPORT void Ordinal6(__XMPMeta__* metadata);

// Takes a text for a client's string.
typedef void (*StoreText)(void* clientString, const char* text, unsigned int length);

// Writes the object as a packet, in UTF-8 and on one line, and hands it to store
// once. All settings must be 0 or empty. Nothing is stored on an error.
PLATFORM_EXPORT void Ordinal61(__XMPMeta__* metadata, void* clientString, unsigned int options,
                               unsigned int padding, const char* newline, const char* indent,
                               int baseIndent, StoreText store, Result* result);
} // namespace zelboxmp

#endif
