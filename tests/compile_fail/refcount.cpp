// Lines with "error:" must not compile, for the reason after the word.

#include "U_RefCount.h"

namespace
{
struct Object : U_RCObject
{
    void Release() { RemoveReference(); } // error: private
};

class Wrapper : public U_RCPtrBase
{
public:
    using U_RCPtrBase::U_RCPtrBase;
    void Assign(const Wrapper& other) { U_RCPtrBase::operator=(other); }          // error: private
    bool Equals(const Wrapper& other) { return U_RCPtrBase::operator==(other); }  // error: private
    bool Differs(const Wrapper& other) { return U_RCPtrBase::operator!=(other); } // error: private
    void Count() { CountIt(); }                                                   // error: private
    const U_RCPtrBase& Null() { return sNull; }                                   // error: private
    U_RCObject* Raw() { return mPointer; }                                        // error: private

    // The operations that a wrapper uses.
    void Use(U_RCObject* object)
    {
        const Wrapper none;
        const Wrapper null(U_rcNULL);
        const Wrapper held(object);
        Wrapper copy(held);
        copy.ResetBase(held);
        copy.ResetBase(held.UsePointer());
        (void)(copy.Compare(none) || copy.CompareNull() || copy.ComparePointer(null.Pointer()));
        copy.ClearBase();
        Hack_AddReference(object);
        Hack_RemoveReference(object);
    }
};

void FromOutside(Object& object, const U_RCPtrBase& base)
{
    U_RCObject abstract;                        // error: abstract
    U_RCPtrBase made;                           // error: protected
    U_RCPtrBase null(U_rcNULL);                 // error: protected
    U_RCPtrBase holder(&object);                // error: protected
    U_RCPtrBase copy(base);                     // error: protected
    base.Pointer();                             // error: protected
    holder.ClearBase();                         // error: protected
    holder.ResetBase(base);                     // error: protected
    holder.ResetBase(&object);                  // error: protected
    base.CompareNull();                         // error: protected
    base.ComparePointer(&object);               // error: protected
    base.UsePointer();                          // error: protected
    base.Compare(base);                         // error: protected
    U_RCPtrBase::Hack_AddReference(&object);    // error: protected
    U_RCPtrBase::Hack_RemoveReference(&object); // error: protected
    holder = base;                              // error: private
    (void)(base == base);                       // error: private
    (void)(base != base);                       // error: private
    base.CountIt();                             // error: private
    (void)base.sNull;                           // error: private
    (void)base.mPointer;                        // error: private
    (void)object.mRefCount;                     // error: private
    (void)U_ReferenceCount().mCount;            // error: private
    (void)!base;
}
} // namespace
