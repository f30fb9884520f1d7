// References to XMP metadata, which is stored in objects of the ZelboXMP toolkit.
//
//     __XMPMeta__* const metadata = zelboxmp::NewMetadata();
//     const U_XMPMetaRef reference(metadata);
//     zelboxmp::Ordinal6(metadata); // releases the first reference
//     std::string packet;
//     reference.Serialize(&packet);
//
// Thread safety: references on several threads may hold the same object; each reference is for
// one thread at a time.

#ifndef U_XMP_H
#define U_XMP_H

#include <string>

#include <zelboxmp/xmp.h>

#include "U_Types.h"

// Thrown by failed operations. The message belongs to the toolkit and is never freed.
struct U_EXPORT XMP_Error
{
    U_i32 code;          // of the toolkit
    const char* message; // in English
    bool flag;           // the library throws false
};

// Owns one reference to a metadata object, or none.
class U_EXPORT U_XMPMetaRef
{
public:
    // Adds a reference; the caller keeps its own. `metadata` may be null: then all functions work
    // on no object.
    U_XMPMetaRef(__XMPMeta__* metadata);
    U_XMPMetaRef(const U_XMPMetaRef& other);
    U_XMPMetaRef& operator=(const U_XMPMetaRef& other);
    ~U_XMPMetaRef();

    // Return the object without a further reference: valid while this reference holds it.
    operator __XMPMeta__*();
    operator __XMPMeta__*() const;
    __XMPMeta__* Get();
    __XMPMeta__* Get() const;

    // Stores the metadata as a packet in UTF-8; without an object, the empty text.
    //
    // Throws: XMP_Error; `*packet` then has the text that the toolkit has stored so far.
    void Serialize(std::string* packet) const;

private:
    U_XMPMetaRef();

    void ResetXMPRef(__XMPMeta__* metadata);

    __XMPMeta__* mRef;
};

#endif
