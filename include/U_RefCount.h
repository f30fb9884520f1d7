// Reference counting for objects that stay on one thread or are guarded by
// their owner: nothing here is safe against concurrent use of one object.
//
// A class to be counted derives from U_RCObject, and a thin typed wrapper around
// U_RCPtrBase is the pointer to it. A count that isn't 0 when its object is
// destroyed is reported, and the destruction goes on.

#ifndef U_REFCOUNT_H
#define U_REFCOUNT_H

#include "U_Types.h"

// The count. It belongs to its object: a copy starts at 0, and an assignment
// leaves it alone.
class U_EXPORT U_ReferenceCount
{
public:
    U_ReferenceCount();
    U_ReferenceCount(const U_ReferenceCount& other);
    U_ReferenceCount& operator=(const U_ReferenceCount& other);
    ~U_ReferenceCount();

    void Increment() const;
    bool Decrement() const; // whether nobody is left

    bool IsShared() const;
    bool IsUniquelyReferenced() const;
    bool IsUnreferenced() const;

private:
    mutable U_i32 mCount;
};

// The base of counted objects. One is made with new and a count of 0; the first
// pointer makes it 1, and the last one to go deletes it.
class U_EXPORT U_RCObject
{
public:
    virtual ~U_RCObject() = 0;

private:
    friend class U_RCPtrBase;

    void RemoveReference();

    U_ReferenceCount mRefCount;
};

// Stands for the null pointer.
class U_RCPtrNull
{
public:
    U_RCPtrNull() {}
};

extern U_EXPORT const U_RCPtrNull U_rcNULL;

// What a typed pointer derives from. It holds one reference to its object and
// isn't compared or assigned but through the operations for wrappers.
class U_EXPORT U_RCPtrBase
{
public:
    ~U_RCPtrBase();

    bool operator!() const; // whether it is null

protected:
    U_RCPtrBase();
    U_RCPtrBase(const U_RCPtrNull& null);
    U_RCPtrBase(U_RCObject* object); // null gives a null pointer
    U_RCPtrBase(const U_RCPtrBase& other);

    // Let go of the object and hold another one, or none. The new object is
    // counted and in place before the old one is released.
    void ClearBase();
    void ResetBase(const U_RCPtrBase& other);
    void ResetBase(U_RCObject* object);

    bool Compare(const U_RCPtrBase& other) const;
    bool CompareNull() const;
    bool ComparePointer(const U_RCObject* object) const;

    U_RCObject* Pointer() const;
    U_RCObject* UsePointer() const; // without a test for null

    // Change the count of a raw pointer, which may be null. The removal of the
    // last reference deletes the object.
    static void Hack_AddReference(U_RCObject* object);
    static void Hack_RemoveReference(U_RCObject* object);

private:
    void operator=(const U_RCPtrBase& other);
    bool operator==(const U_RCPtrBase& other) const;
    bool operator!=(const U_RCPtrBase& other) const;
    void CountIt() const;

    static const U_RCPtrBase sNull;

    U_RCObject* mPointer;
};

// For wrappers whose null pointer is dereferenced: reports a warning and throws
// the int 3.
[[noreturn]] U_EXPORT void ThrowNullPointerError();

#endif
