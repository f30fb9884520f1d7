// Handles on XMP metadata, which lives in objects of the ZelboXMP toolkit.

#ifndef U_XMP_H
#define U_XMP_H

#include <string>

#include <zelboxmp/xmp.h>

#include "U_Types.h"

// What failed operations throw. The message is the toolkit's own and stays.
struct U_EXPORT XMP_Error
{
    U_i32 code;
    const char* message;
    bool flag; // false when thrown
};

// Holds one reference to a metadata object, or none. Several may hold the same
// object on several threads; each is for one thread at a time.
class U_EXPORT U_XMPMetaRef
{
public:
    // Takes a reference of its own; the caller keeps its. Null is fine here and
    // in all that follows.
    U_XMPMetaRef(__XMPMeta__* metadata);
    U_XMPMetaRef(const U_XMPMetaRef& other);
    U_XMPMetaRef& operator=(const U_XMPMetaRef& other);
    ~U_XMPMetaRef();

    // The object, without a reference: borrowed for this one's life.
    operator __XMPMeta__*();
    operator __XMPMeta__*() const;
    __XMPMeta__* Get();
    __XMPMeta__* Get() const;

    // Stores the metadata as a packet in UTF-8, the empty text for none. Throws
    // XMP_Error; the string then holds what the toolkit has stored.
    void Serialize(std::string* packet) const;

private:
    U_XMPMetaRef();

    void ResetXMPRef(__XMPMeta__* metadata);

    __XMPMeta__* mRef;
};

#endif
