#include "U_RefCount.h"

#include "U_Assert.h"
#include "U_Report.h"
#include "indep/frame/Guard.h"

namespace
{
const int kCountLine = 68;
} // namespace

const U_RCPtrNull U_rcNULL;
const U_RCPtrBase U_RCPtrBase::sNull;

U_ReferenceCount::U_ReferenceCount() : mCount(0) {}

U_ReferenceCount::U_ReferenceCount(const U_ReferenceCount&) : mCount(0) {}

U_ReferenceCount& U_ReferenceCount::operator=(const U_ReferenceCount&)
{
    return *this;
}

U_ReferenceCount::~U_ReferenceCount()
{
    if (mCount == 0)
        return;
    GuardedNoexcept([] {
        U_ReportFailedVerification(0, kCountLine, nullptr, "Warning: Reference count not zero.");
    });
}

void U_ReferenceCount::Increment() const
{
    ++mCount;
}

bool U_ReferenceCount::Decrement() const
{
    --mCount;
    return IsUnreferenced();
}

bool U_ReferenceCount::IsShared() const
{
    return mCount > 1;
}

bool U_ReferenceCount::IsUniquelyReferenced() const
{
    return mCount == 1;
}

bool U_ReferenceCount::IsUnreferenced() const
{
    return mCount < 1;
}

U_RCObject::~U_RCObject() = default;

void U_RCObject::RemoveReference()
{
    if (mRefCount.Decrement())
        delete this;
}

U_RCPtrBase::U_RCPtrBase() : mPointer(nullptr) {}

U_RCPtrBase::U_RCPtrBase(const U_RCPtrNull&) : mPointer(nullptr) {}

U_RCPtrBase::U_RCPtrBase(U_RCObject* object) : mPointer(object)
{
    CountIt();
}

U_RCPtrBase::U_RCPtrBase(const U_RCPtrBase& other) : mPointer(other.mPointer)
{
    CountIt();
}

U_RCPtrBase::~U_RCPtrBase()
{
    ClearBase();
}

// ResetBase does nothing if the object stays the same.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
void U_RCPtrBase::operator=(const U_RCPtrBase& other)
{
    ResetBase(other);
}

bool U_RCPtrBase::operator!() const
{
    return CompareNull();
}

bool U_RCPtrBase::operator==(const U_RCPtrBase& other) const
{
    return Compare(other);
}

bool U_RCPtrBase::operator!=(const U_RCPtrBase& other) const
{
    return !Compare(other);
}

void U_RCPtrBase::ClearBase()
{
    ResetBase(static_cast<U_RCObject*>(nullptr));
}

bool U_RCPtrBase::Compare(const U_RCPtrBase& other) const
{
    return ComparePointer(other.mPointer);
}

bool U_RCPtrBase::CompareNull() const
{
    return ComparePointer(nullptr);
}

bool U_RCPtrBase::ComparePointer(const U_RCObject* object) const
{
    return mPointer == object;
}

void U_RCPtrBase::CountIt() const
{
    Hack_AddReference(mPointer);
}

void U_RCPtrBase::Hack_AddReference(U_RCObject* object)
{
    if (object)
        object->mRefCount.Increment();
}

void U_RCPtrBase::Hack_RemoveReference(U_RCObject* object)
{
    if (object)
        object->RemoveReference();
}

U_RCObject* U_RCPtrBase::Pointer() const
{
    return mPointer;
}

U_RCObject* U_RCPtrBase::UsePointer() const
{
    return mPointer;
}

void U_RCPtrBase::ResetBase(const U_RCPtrBase& other)
{
    ResetBase(other.mPointer);
}

void U_RCPtrBase::ResetBase(U_RCObject* object)
{
    if (object == mPointer)
        return;
    // The old object is released last: it may own the new one, and its destructor may use this
    // pointer.
    U_RCObject* const old = mPointer;
    mPointer = object;
    CountIt();
    Hack_RemoveReference(old);
}

void ThrowNullPointerError()
{
    Up_ReportErrString(kModule, U_Sev_WARNING, "Warning: Attempted to dereference a null pointer.");
    throw 3;
}
