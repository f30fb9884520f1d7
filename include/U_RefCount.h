// Reference counting without atomic operations, for objects of one thread or of an owner that
// guards them. A counted class derives from U_RCObject. The host's pointer to it derives from
// U_RCPtrBase.
//
//     struct Node : U_RCObject {};
//     struct NodePtr : U_RCPtrBase
//     {
//         explicit NodePtr(Node* node) : U_RCPtrBase(node) {}
//     };
//     const NodePtr first(new Node);
//     const NodePtr second(first); // two references; the last one deletes the node
//
// Thread safety: none. An object and its pointers are for one thread at a time.
//
// Failures: an object that is destroyed while its count is not 0 is reported, and the destruction
// continues.

#ifndef U_REFCOUNT_H
#define U_REFCOUNT_H

#include "U_Types.h"

// The count of one object. A copy starts at 0, and an assignment does not change the count.
class U_EXPORT U_ReferenceCount
{
public:
    U_ReferenceCount();                                         // the count 0
    U_ReferenceCount(const U_ReferenceCount& other);            // the count 0
    U_ReferenceCount& operator=(const U_ReferenceCount& other); // keeps the count
    ~U_ReferenceCount();

    void Increment() const; // adds 1
    bool Decrement() const; // returns true if the count is now 0 or less

    bool IsShared() const;             // the count is above 1
    bool IsUniquelyReferenced() const; // the count is 1
    bool IsUnreferenced() const;       // the count is 0

private:
    mutable U_i32 mCount;
};

// The base of counted objects. The count of a new object is 0, and each pointer adds 1. The last
// pointer to an object deletes it.
//
// REQUIRES: counted objects are allocated with new.
class U_EXPORT U_RCObject
{
public:
    virtual ~U_RCObject() = 0;

private:
    friend class U_RCPtrBase;

    void RemoveReference();

    U_ReferenceCount mRefCount;
};

// The type of U_rcNULL, the null pointer.
class U_RCPtrNull
{
public:
    U_RCPtrNull() {}
};

// Makes a null pointer of any pointer class below.
extern U_EXPORT const U_RCPtrNull U_rcNULL;

// The base of typed pointers. Owns one reference to its object, or is null. Derived classes define
// comparison and assignment with the protected functions.
class U_EXPORT U_RCPtrBase
{
public:
    ~U_RCPtrBase();

    bool operator!() const; // true if the pointer is null

protected:
    // A null pointer, or one more reference to an object.
    U_RCPtrBase();
    U_RCPtrBase(const U_RCPtrNull& null);
    U_RCPtrBase(U_RCObject* object); // null gives a null pointer
    U_RCPtrBase(const U_RCPtrBase& other);

    // Replace the object by another one or by none. The new object is counted and stored before
    // the old one is released.
    void ClearBase();
    void ResetBase(const U_RCPtrBase& other);
    void ResetBase(U_RCObject* object);

    // Return whether both point to the same object, or both to none.
    bool Compare(const U_RCPtrBase& other) const;
    bool CompareNull() const;
    bool ComparePointer(const U_RCObject* object) const;

    U_RCObject* Pointer() const;    // the object; null for a null pointer
    U_RCObject* UsePointer() const; // does not check for null

    // Change the count of an object; `object` may be null. The removal of the last reference
    // deletes the object.
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

// Reports a warning, for a typed pointer that is dereferenced while it is null.
//
// Throws: the int 3, always.
[[noreturn]] U_EXPORT void ThrowNullPointerError();

#endif
