// The parts of alerts that differ between systems: properties of their characters, by its own data,
// and its message box.

#ifndef PLATFORM_ALERT_SYSTEM_H
#define PLATFORM_ALERT_SYSTEM_H

#include <cstddef>
#include <memory>

#include <krobase/text.h>
#include <platform/control.h>

namespace platform
{
// Returns the columns that the character takes on a terminal.
std::size_t ColumnsOf(unsigned int character);

// The positions at which a text may be broken, in units.
class TextBreaks
{
public:
    virtual ~TextBreaks() = default;

    // Replaces the text.
    //
    // Throws: std::bad_alloc.
    // REQUIRES: the text has at most 2^31 - 1 units, and stays unchanged until it is replaced.
    virtual void SetText(const krobase::utility::UTF16String& text) = 0;

    // Returns the first position after `position` at which a line may end.
    // REQUIRES: `position` lies before the end of the text.
    virtual int NextLineEnd(int position) = 0;

    // Return the first end of a character after `position`, and the last one before `position`.
    virtual int NextCharacterEnd(int position) = 0;
    virtual int LastCharacterEnd(int position) = 0;
};

// Throws: std::bad_alloc.
std::unique_ptr<TextBreaks> MakeTextBreaks();

// Shows the alert in the system's message box, and waits until the user has dismissed the box.
//
// Returns: false if the system has no message boxes, or no desktop to show one on.
// Throws: the exceptions of window procedures that the box calls while it waits.
bool PresentInSystemBox(const Alert& alert);
} // namespace platform

#endif
