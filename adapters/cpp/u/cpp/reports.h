// Reports: a builder of messages and groups, and scopes that keep alerts back.
//
//     const U_u32 kOpenFile = 0x10001; // module 1, place 1
//     const U::cpp::Group files("$$$/Host/Many=Some files can't be read",
//                               "$$$/Host/Count=Files: @0", "$$$/Host/One=A file can't be read");
//     U::cpp::Report(kOpenFile, U_Sev_WARNING)
//         .Text("$$$/Host/File=The file ^^1 is missing.", "a^2.txt")
//         .In(files)
//         .Show();
//
// U_Report.h, U_Posted.h and U_Group.h describe the way of a report.
//
// Thread safety: all functions may be called on any thread. A scope begins and ends on one thread.

#ifndef U_CPP_REPORTS_H
#define U_CPP_REPORTS_H

#include <utility>

#include <U_Group.h>
#include <U_Posted.h>
#include <U_Report.h>

#include <u/cpp/errors.h>
#include <u/cpp/text.h>

namespace U::cpp
{
// One group of messages, which the user sees as one numbered list.
//
// REQUIRES: as for the identifiers of U_Group.h: no part has "{", "}", "|||" or "###".
class Group
{
public:
    // The heading for several messages, the label of their count, in which "@0" is the count, and
    // the heading for one message.
    Group(const U_UTF16String& manyHeading, const U_UTF16String& countLabel,
          const U_UTF16String& oneHeading)
        : mIdentifier(U_FormUniqueGroupErrorMessageIdentifier(manyHeading, countLabel, oneHeading))
    {
    }

    // The same from ZStrings.
    Group(const char* manyHeading, const char* countLabel, const char* oneHeading)
        : Group(Format(manyHeading), Format(countLabel), Format(oneHeading))
    {
    }

    // Returns the identifier for the functions of U_Group.h.
    const U_UTF16String& Identifier() const noexcept { return mIdentifier; }

private:
    U_UTF16String mIdentifier;
};

// Builds one message and reports it.
class Report
{
public:
    // `severity` is one of U_Sev_.
    Report(U_u32 location, U_u16 severity) noexcept : mLocation(location), mSeverity(severity) {}

    // Sets the text: a ZString whose placeholders are filled by the values (Format of text.h).
    template <class... Values> Report& Text(const char* zstring, const Values&... values)
    {
        mText = Format(zstring, values...);
        return *this;
    }
    Report& Text(U_UTF16String text) noexcept
    {
        mText = std::move(text);
        return *this;
    }

    // Sets the text to the meaning of a status code.
    Report& Text(U_Status status)
    {
        mText = Checked([&] { return U_GetStatusText(status); });
        return *this;
    }

    // Makes the message one of a group. Comes after Text.
    Report& In(const Group& group)
    {
        mText = U_GroupErrorMessage(mText, group.Identifier());
        return *this;
    }

    // Reports the message as U_ReportError does. On the UI thread the function returns when the
    // user has dismissed the alert.
    //
    // Throws: the exception of the code with which a logging callback ends the report, and any
    // exception that a callback throws.
    void Show() const
    {
        Checked([&] { U_ReportError(mLocation, mSeverity, mText); });
    }

    // Posts the message as U_AsyncReport does: without the log, the callbacks and the count.
    void Post() const { U_AsyncReport(mLocation, mSeverity, mText); }

private:
    U_u32 mLocation;
    U_u16 mSeverity;
    U_UTF16String mText;
};

// Quiet mode of the thread for a scope: reports of the thread are neither counted nor shown,
// except fatal ones. Scopes nest.
class QuietScope
{
public:
    // If `keepLogging` is false, the reports do not reach the log and the callbacks either.
    //
    // Throws: std::bad_alloc; StatusError with 3 outside the library's life.
    explicit QuietScope(bool keepLogging) { Check(U_StartQuietErrorsOnCurrentThread(keepLogging)); }
    ~QuietScope() { U_EndQuietErrorsOnCurrentThread(); }
    QuietScope(const QuietScope&) = delete;
    QuietScope& operator=(const QuietScope&) = delete;
};

// Holds alerts back for a scope: reports on the UI thread are posted. U_DisplayPostedErrors shows
// the messages after the scope.
class PostScope
{
public:
    PostScope() noexcept { U_IncrementPostErrors(); }
    ~PostScope() { U_DecrementPostErrors(); }
    PostScope(const PostScope&) = delete;
    PostScope& operator=(const PostScope&) = delete;
};

// A deferred stretch for a scope: the errors of the stretch are kept back, and its end reports the
// last of them or none. Scopes nest.
class DeferredScope
{
public:
    // A severity is shown or logged in the stretch only if `mask` has its bit (U_Interact.h).
    //
    // Throws: std::bad_alloc; StatusError with 2 or 5889 as U_GetHowManyErrors.
    explicit DeferredScope(U_u32 mask)
    {
        if (const U_Status failure = U_DeferredReportingStart(mask, &mState))
        {
            U_DeferredReportingEnd(false, nullptr,
                                   &mState); // a start that fails needs its end, too
            Throw(failure);
        }
    }
    DeferredScope(const DeferredScope&) = delete;
    DeferredScope& operator=(const DeferredScope&) = delete;

    // Reports, unless the stretch has ended.
    // REQUIRES: the report throws nothing (U_Interact.h).
    ~DeferredScope()
    {
        if (!mHasEnded)
            U_DeferredReportingEnd(true, nullptr, &mState);
    }

    // Ends the stretch and repeats its last error, if there was one. `fallbackText`, multibyte, is
    // the text of an error that has none; null is the library's own text. A second end does
    // nothing.
    //
    // Returns: 0, or a code of U_DeferredReportingEndAsync.
    U_Status Report(const char* fallbackText = nullptr) { return End(true, false, fallbackText); }

    // The same, but the repeat is only posted.
    U_Status Post(const char* fallbackText = nullptr) { return End(true, true, fallbackText); }

    // Ends the stretch and forgets its errors.
    void Forget() { End(false, false, nullptr); }

private:
    U_Status End(bool report, bool async, const char* fallbackText)
    {
        if (std::exchange(mHasEnded, true))
            return 0;
        return U_DeferredReportingEndAsync(report, async, fallbackText, &mState);
    }

    U_DeferredState mState;
    bool mHasEnded = false;
};
} // namespace U::cpp

#endif
