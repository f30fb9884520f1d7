// Lines with "error:" must not compile, for the reason after the word.

#include "U_XMP.h"

void FromOutside(U_XMPMetaRef& reference, __XMPMeta__* metadata)
{
    U_XMPMetaRef none;               // error: private
    reference.ResetXMPRef(metadata); // error: private
    (void)reference.mRef;            // error: private
    reference = U_XMPMetaRef(metadata);
}
