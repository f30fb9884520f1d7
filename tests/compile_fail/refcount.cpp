// Lines with "error:" mustn't compile, for the reason they tell.

#include "U_RefCount.h"

namespace
{
struct Object : U_RCObject
{
    void Release() { RemoveReference(); } // error: private
};

class Pointer : public U_RCPtrBase
{
public:
    using U_RCPtrBase::U_RCPtrBase;
    void Assign(const Pointer& other) { U_RCPtrBase::operator=(other); }          // error: private
    bool Equals(const Pointer& other) { return U_RCPtrBase::operator==(other); }  // error: private
    bool Differs(const Pointer& other) { return U_RCPtrBase::operator!=(other); } // error: private
    void Count() { CountIt(); }                                                   // error: private
    const U_RCPtrBase& Null() { return sNull; }                                   // error: private
};

void FromOutside(Object& object, const U_RCPtrBase& base)
{
    U_RCObject abstract;                        // error: abstract
    U_RCPtrBase made;                           // error: protected
    U_RCPtrBase null(U_rcNULL);                 // error: protected
    U_RCPtrBase holder(&object);                // error: protected
    U_RCPtrBase copy(base);                     // error: protected
    base.Pointer();                             // error: protected
    base.UsePointer();                          // error: protected
    base.Compare(base);                         // error: protected
    U_RCPtrBase::Hack_AddReference(&object);    // error: protected
    U_RCPtrBase::Hack_RemoveReference(&object); // error: protected
    (void)(base == base);                       // error: private
    (void)!base;
}
} // namespace
