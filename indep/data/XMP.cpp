#include "U_XMP.h"

namespace
{
// Calls of the toolkit for a reference that may be null.

__XMPMeta__* AddReference(__XMPMeta__* metadata)
{
    if (metadata)
        zelboxmp::Ordinal5(metadata);
    return metadata;
}

void RemoveReference(__XMPMeta__* metadata)
{
    if (metadata)
        zelboxmp::Ordinal6(metadata);
}

void Store(void* clientString, const char* text, unsigned int length)
{
    static_cast<std::string*>(clientString)->assign(text, length);
}
} // namespace

U_XMPMetaRef::U_XMPMetaRef() : mRef(nullptr) {}

U_XMPMetaRef::U_XMPMetaRef(__XMPMeta__* metadata) : mRef(AddReference(metadata)) {}

U_XMPMetaRef::U_XMPMetaRef(const U_XMPMetaRef& other) : mRef(AddReference(other.mRef)) {}

U_XMPMetaRef& U_XMPMetaRef::operator=(const U_XMPMetaRef& other)
{
    if (this != &other)
        ResetXMPRef(other.mRef);
    return *this;
}

U_XMPMetaRef::~U_XMPMetaRef()
{
    ResetXMPRef(nullptr);
}

// The new reference is added first: both may be to the same object.
void U_XMPMetaRef::ResetXMPRef(__XMPMeta__* metadata)
{
    __XMPMeta__* const old = mRef;
    mRef = AddReference(metadata);
    RemoveReference(old);
}

U_XMPMetaRef::operator __XMPMeta__*()
{
    return mRef;
}

U_XMPMetaRef::operator __XMPMeta__*() const
{
    return mRef;
}

__XMPMeta__* U_XMPMetaRef::Get()
{
    return mRef;
}

__XMPMeta__* U_XMPMetaRef::Get() const
{
    return mRef;
}

void U_XMPMetaRef::Serialize(std::string* packet) const
{
    if (!mRef)
    {
        packet->clear();
        return;
    }
    const U_XMPMetaRef held(*this); // keeps the object if this reference is destroyed meanwhile
    zelboxmp::Result result = {};
    zelboxmp::Ordinal61(held.mRef, packet, 0, 0, "", "", 0, &Store, &result);
    if (result.errorText)
        throw XMP_Error{static_cast<U_i32>(result.errorCode), result.errorText, false};
}
