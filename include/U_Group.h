// Grouped messages: when an operation fails for many items, the user sees one alert.
//
// The caller makes one identifier for the operation and puts it on the message of each item.
// U_DisplayPostedErrors (U_Posted.h) shows the messages of one identifier as one numbered list.
//
//     #include "U_Encoding.h"
//     #include "U_Report.h"
//     const U_UTF16String files = U_FormUniqueGroupErrorMessageIdentifier(
//         U_AsciiToUTF16String("Some files can't be read"), U_AsciiToUTF16String("Files: @0"),
//         U_AsciiToUTF16String("A file can't be read"));
//     U_ReportError(0x10001, U_Sev_WARNING,
//                   U_GroupErrorMessage(U_AsciiToUTF16String("a.txt"), files));
//
// Thread safety: all functions may be called on any thread.
//
// REQUIRES: no part of an identifier contains "{", "}", "|||" or "###", which divide the
// identifier: the first "}" cuts the identifier short. The host's name, which precedes each
// heading of a shown group, contains neither "|||" nor "###".
//
// Failures: without memory every function throws std::bad_alloc; some outputs may be set.
//
// The marks are texts that a translation may replace. Text after a mark starts after the whole
// of the translated mark. A mark that a translation leaves empty is not found anywhere.

#ifndef U_GROUP_H
#define U_GROUP_H

#include "U_Types.h"

// Returns an identifier made of the heading for several messages, a label for their count and
// the heading for one message. "@0" in the label is replaced by the count.
U_EXPORT U_UTF16String U_FormUniqueGroupErrorMessageIdentifier(const U_UTF16String& manyHeading,
                                                               const U_UTF16String& countLabel,
                                                               const U_UTF16String& oneHeading);

// Returns the message of one item with the identifier in front.
U_EXPORT U_UTF16String U_GroupErrorMessage(const U_UTF16String& message,
                                           const U_UTF16String& identifier);

// Splits an identifier into its parts. An identifier without a count label results in
// "Errors:" in the current language. An identifier with one heading has that heading for
// several messages and for one. Each output may be null, and may be the identifier itself.
U_EXPORT void U_ExtractSingularPluralFromUniqueGroupIdentifier(const U_UTF16String& identifier,
                                                               U_UTF16String* manyHeading,
                                                               U_UTF16String* countLabel,
                                                               U_UTF16String* oneHeading);

// Returns the message without the identifier and without the text in front of the identifier.
// Stores in *key the text that the messages of one group have in common: the identifier, with
// the text in front of it and a blank before each heading. `key` may be &text.
//
// If the text has no identifier, or its braces are missing or in the wrong order, or `key` is
// null, the text is returned unchanged and *key is not set. A "|||" outside the braces is
// ignored.
U_EXPORT U_UTF16String U_StripGroupedErrorMessage(const U_UTF16String& text, U_UTF16String* key);

#endif
