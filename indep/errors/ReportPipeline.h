// The report pipeline: composes a report's text, logs the text, calls the logging callbacks
// and shows or posts the message.

#ifndef INDEP_ERRORS_REPORT_PIPELINE_H
#define INDEP_ERRORS_REPORT_PIPELINE_H

#include <optional>

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
    bool mLogsStack; // a stack trace follows the line in the log
    Prefix mPrefix;
    OwnText mWord;
    unsigned int mBoxIcon;      // flag of the system's message box
    int mHostIcon;              // icon of the host's message box
    const char* mLogTag;        // null: no line in the log
    const char* mTelemetryWord; // null: no telemetry
};

// Returns the traits of an invalid severity for any value that is none.
const SeverityTraits& TraitsOf(U_u16 severity);

// Returns true if the interaction mask shows reports of the severity.
bool IsDisplayOn(U_u16 severity);

// A report's text as the user reads it: the host's name and the severity's word, then the
// caller's text. Composed on the first Get, since the masks drop many reports unread. On a
// failure the prefix composed so far is kept; without memory for prefix and text the result is
// the caller's text alone.
class ComposedText
{
public:
    // REQUIRES: text outlives the object.
    ComposedText(U_u16 severity, const U_UTF16String& text) : mSeverity(severity), mText(text) {}

    const U_UTF16String& Get();

    // Returns the text and moves it out of the object, which has no text afterwards.
    U_UTF16String Take();

private:
    const U_u16 mSeverity;
    const U_UTF16String& mText;
    std::optional<U_UTF16String> mComposed;
};

// Copies a text in multibyte form, cut at a character boundary. Fails as U_UTF16ToMBString does.
// REQUIRES: `out` has U_ReportTextSize bytes.
void CopyReportText(const U_UTF16String& text, char* out);

// True for a message of a group: such a message is never shown at once.
enum class Grouping
{
    no,
    yes,
    byText // if the text has the tag of grouped messages
};

// A location code for people: module and place. Empty for the code 0.
struct LocationText
{
    explicit LocationText(U_u32 location);

    char mText[64];
};

// One report on its way through the pipeline.
class Report
{
public:
    // REQUIRES: text outlives the object.
    Report(U_u32 location, U_u16 severity, const U_UTF16String& text);

    // Writes the report's line to the log, and the stack if the severity asks for the stack.
    // A failure of the log does not stop the report.
    void Log();

    // Calls the logging callbacks. Throws the code of a callback that ends the report, and any
    // exception of a callback.
    void CallBack();

    // Counts the report. Shows or posts the message if the mask shows the severity.
    void Display(Grouping grouping);

    // Returns 0, or the reason why the message was not posted. The last step of a report.
    U_Status Post();

private:
    bool MayShowNow(Grouping grouping) const;
    void ShowNow();

    const U_u32 mLocation;
    const U_u16 mSeverity;
    const U_UTF16String& mBareText;
    ComposedText mText;
};

// Returns true if the record is valid and there is a callback to call. Takes no lock.
bool Up_HasLoggingCallbacks();

// Calls every logging callback, in the order of the slots. Returns the answer of the last
// callback; 0 if all callbacks have been removed meanwhile. An exception of a callback passes
// through.
//
// REQUIRES: Up_HasLoggingCallbacks has returned true.
U_Status Up_CallLoggingCallbacks(U_u32 location, const char* text, U_u16 severity);

// The latest report of a thread.
struct Up_LastErrorState
{
    U_u32 mLastError; // status or system code
    U_u16 mLastSeverity;
    U_u32 mLastLocation;
};

// Sets the severity and the location of the calling thread's state, and keeps the code.
void Up_SetThreadLastReport(U_u16 severity, U_u32 location);

// Returns the thread logging buffer; null if the thread has none.
char* Up_FindThreadLoggingBuffer();

// Append the text to `buffer`, which has U_ReportTextSize bytes, as Up_NuloEnglishError and
// Up_SysEnglishError append the text to the thread's logging buffer.
void AppendStatusText(U_u32 code, char* buffer);
void AppendSystemText(U_i32 code, char* buffer);

// Reports like Up_ReportErrString. If `isLogged` is true, the log has the line already.
U_Status Up_RepeatReport(U_u32 location, U_u16 severity, const char* text, bool isLogged);

#endif
