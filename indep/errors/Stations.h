// The stations of the report path.

#ifndef INDEP_ERRORS_STATIONS_H
#define INDEP_ERRORS_STATIONS_H

#include "U_Types.h"
#include "indep/errors/Compose.h"

// Whether reports of a severity are for the user by now.
bool IsDisplayOn(U_u16 severity);

// One report on its way. Its text must outlive it.
class Report
{
public:
    Report(U_u32 location, U_u16 severity, const U_UTF16String& text);

    // Writes its line to the log, and the stack where the severity asks for it. A
    // log that fails doesn't stop the report.
    void Log();

    // Hands it to the logging callbacks. Throws the code of one that ends the
    // report, and what one throws.
    void CallBack();

    // Counts it, and shows or posts it if it is for the user.
    void Display(bool grouped);

    // Returns 0, or why it couldn't be posted.
    U_Status Post();

private:
    bool MayShowNow(bool grouped) const;
    void ShowNow();

    const U_u32 mLocation;
    const U_u16 mSeverity;
    ComposedText mText;
};

#endif
