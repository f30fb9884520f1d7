// Messages for the user: posted, put together in groups, and shown.

#ifndef INDEP_ERRORS_USER_MESSAGES_H
#define INDEP_ERRORS_USER_MESSAGES_H

#include <cstddef>
#include <list>

#include "U_Types.h"

struct Up_PostedError
{
    U_UTF16String mText; // as composed
    U_u16 mSeverity;
    U_u32 mLocation;
    bool mCoalesced; // made of grouped messages when they are shown
};

// A list, since its nodes are allocated and freed without the lock of the posted list: a
// failing allocation may report.
typedef std::list<Up_PostedError> PostedErrors;

// Steps of birth and death.
void MakePostedErrors();
void FreePostedErrors();

// Posts a message. On any thread but the UI thread, a message that equals the last shown
// message is dropped, which is a success. Returns 0; 4 without memory; 3 without a list.
U_Status Up_PostError(U_u32 location, U_u16 severity, U_UTF16String text);

// Stores the message as the last shown message, for Up_PostError.
void RememberLastReported(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Shows a composed text in an alert and returns when the user has dismissed the alert.
//
// - The message becomes the last shown message and is sent to telemetry. An int or a
//   std::exception from these steps neither stops the alert nor is reported, apart from a
//   translator's own report.
// - The text has the location under it, unless the message is plain.
// - The alert is the host's message box with `sizeHint`. If the host has set no box or the
//   box fails, the alert is the system's message box.
// - If Shift is held down when the alert closes, the text is copied to the clipboard.
//
// Throws the exceptions of the system's message box.
void Up_ShowMessage(U_u32 location, U_u16 severity, const U_UTF16String& text, float sizeHint);

// Returns true if the text contains the tag of grouped messages, and stores the tag's position
// unless `position` is null. Throws no std::bad_alloc.
bool Up_HasGroupTag(const U_UTF16String& text, std::size_t* position = nullptr);

// Puts the messages of each group together in one entry. Entries without a group keep their
// order and are first; the entries of groups follow in the order of their keys by code unit.
// If an exception is thrown, `errors` is unchanged.
void Coalesce(PostedErrors& errors);

#endif
