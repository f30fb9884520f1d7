// What each severity looks like at the stations of the report path.

#ifndef INDEP_ERRORS_SEVERITY_H
#define INDEP_ERRORS_SEVERITY_H

#include "U_Types.h"
#include "text/OwnTexts.h"

enum class Prefix
{
    none,
    indent, // two spaces
    name,   // the host's name
    word    // the host's name and the severity's word
};

struct SeverityTraits
{
    U_u16 mSeverity;
    bool mLogsStack; // a stack crawl follows the line in the log
    Prefix mPrefix;
    OwnText mWord;
    unsigned int mBoxIcon;      // flag of the system's message box
    int mHostIcon;              // icon of the host's
    const char* mLogTag;        // null: no line in the log
    const char* mTelemetryWord; // null: no telemetry
};

// The traits of what is no severity are those of an invalid one.
const SeverityTraits& TraitsOf(U_u16 severity);

#endif
