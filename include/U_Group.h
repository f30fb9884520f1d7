// Messages that belong together.
//
// When an operation fails for many items, the user is to see one alert and not
// one an item. The caller makes an identifier for the operation and puts it on
// each item's message; messages of one identifier are shown as one numbered
// list. The parts of an identifier must not hold "{", "}", "|||" or "###", which
// divide it: the first "}" would cut it short. Nor may the host's name hold
// "|||" or "###", as it stands in front of each heading when a group is shown.
// These marks are texts, too: where a translation has another one, what follows it
// is taken from behind the whole of it, and one that it leaves empty is found nowhere.
// Any thread. Without memory all of these throw std::bad_alloc, with some of their
// outputs set, maybe.

#ifndef U_GROUP_H
#define U_GROUP_H

#include "U_Types.h"

// Makes an identifier of the heading for several messages, a label for their
// count, which may hold "@0" for the number, and the heading for one message.
U_EXPORT U_UTF16String U_FormUniqueGroupErrorMessageIdentifier(const U_UTF16String& manyHeading,
                                                               const U_UTF16String& countLabel,
                                                               const U_UTF16String& oneHeading);

// Puts the identifier on one item's message.
U_EXPORT U_UTF16String U_GroupErrorMessage(const U_UTF16String& message,
                                           const U_UTF16String& identifier);

// Takes an identifier apart. One without a count label gets "Errors:", in the
// current language; one without a second heading serves as both. Outputs may be
// null.
U_EXPORT void U_ExtractSingularPluralFromUniqueGroupIdentifier(const U_UTF16String& identifier,
                                                               U_UTF16String* manyHeading,
                                                               U_UTF16String* countLabel,
                                                               U_UTF16String* oneHeading);

// The message of a text without the identifier that was put on it, and without
// what stands in front of that. *key becomes what messages of one group have in
// common: the identifier, with what stands in front of it and a blank before
// each heading. Without an identifier, or with one whose braces aren't there in
// this order, the text comes back as it is and *key stays; so it does for a null
// key. A "|||" outside the braces doesn't count. key may be the text.
U_EXPORT U_UTF16String U_StripGroupedErrorMessage(const U_UTF16String& text, U_UTF16String* key);

#endif
