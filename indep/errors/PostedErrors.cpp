// The list of posted messages, and the last shown message.

#include "indep/errors/UserMessages.h"

#include <exception>
#include <optional>
#include <utility>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <wril/wril.h>

#include "U_Encoding.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "indep/errors/Globals.h"
#include "indep/frame/Guard.h"

namespace
{
typedef platform::ScLock<platform::Mutex> PostedLock;

const float kGroupedSizeHint = 600;

struct Reported
{
    U_u32 mLocation = 0;
    U_u16 mSeverity = U_Sev_MESSAGE;
    U_UTF16String mText;
};

// The lock is held only to compare, append and move.
struct Posted
{
    platform::Mutex mLock;
    std::optional<PostedErrors> mErrors PLATFORM_GUARDED_BY(mLock); // from birth to death
    Reported mLastReported PLATFORM_GUARDED_BY(mLock);
};

Posted& ThePosted()
{
    static platform::Immortal<Posted> posted;
    return *posted;
}

bool IsLastReported(const Reported& last, const Up_PostedError& error)
{
    return last.mLocation == error.mLocation && last.mSeverity == error.mSeverity &&
           last.mText == error.mText;
}

PostedErrors TakePosted()
{
    PostedErrors taken;
    Posted& posted = ThePosted();
    PostedLock lock(posted.mLock);
    if (posted.mErrors)
        taken.swap(*posted.mErrors);
    return taken;
}

// Puts the messages before those that were posted meanwhile.
void Requeue(PostedErrors& errors)
{
    Posted& posted = ThePosted();
    PostedLock lock(posted.mLock);
    if (posted.mErrors)
        posted.mErrors->splice(posted.mErrors->begin(), errors);
}

// Messages that are being shown. The destructor requeues the messages that were not shown, also
// if an exception passes out.
class Showing
{
public:
    explicit Showing(PostedErrors& errors) : mErrors(errors) {}

    ~Showing()
    {
        mErrors.splice(mErrors.begin(), mFailed);
        try
        {
            Requeue(mErrors);
        }
        catch (...)
        {
            // Only a broken lock throws; then there is no list to post to.
        }
    }

    Showing(const Showing&) = delete;
    Showing& operator=(const Showing&) = delete;

    void ShowInOrder()
    {
        while (!mErrors.empty())
        {
            // A message that cannot be shown does not keep the others from the user.
            if (IsShown(mErrors.front()))
                mErrors.pop_front();
            else
                mFailed.splice(mFailed.end(), mErrors, mErrors.begin());
        }
    }

private:
    // The failure is not reported: while nothing can be shown, each try would post one more
    // message for each that waits.
    static bool IsShown(const Up_PostedError& error)
    {
        try
        {
            Up_ShowMessage(error.mLocation, error.mSeverity, error.mText,
                           error.mCoalesced ? kGroupedSizeHint : 0);
            return true;
        }
        catch (int)
        {
            return false;
        }
        catch (const std::exception&)
        {
            return false;
        }
    }

    PostedErrors& mErrors;
    PostedErrors mFailed;
};
} // namespace

void MakePostedErrors()
{
    Posted& posted = ThePosted();
    PostedLock lock(posted.mLock);
    if (!posted.mErrors)
        posted.mErrors.emplace();
}

void FreePostedErrors()
{
    std::optional<PostedErrors> left;
    {
        Posted& posted = ThePosted();
        PostedLock lock(posted.mLock);
        left.swap(posted.mErrors);
    }
    if (!left)
        return;
    // Death has tried to show these messages. Messages of U_AsyncReport have no other trace.
    for (const Up_PostedError& error : *left)
        LogSafely([&] {
            const U_UTF8String line = U_UTF16To8String(error.mText);
            WRIL_Log(0, "U", "POSTED_NOT_SHOWN", reinterpret_cast<const char*>(line.c_str()));
        });
}

U_Status Up_PostError(U_u32 location, U_u16 severity, U_UTF16String text)
{
    return Guarded([&] {
        PostedErrors error;
        error.push_back({std::move(text), severity, location, false});
        const bool isOnUIThread = U_IsOnUIThread();
        Posted& posted = ThePosted();
        PostedLock lock(posted.mLock);
        if (!posted.mErrors)
            throw U_Status(U_Err_BadParameter);
        if (isOnUIThread || !IsLastReported(posted.mLastReported, error.front()))
            posted.mErrors->splice(posted.mErrors->end(), error);
    });
}

void RememberLastReported(U_u32 location, U_u16 severity, const U_UTF16String& text)
{
    Reported reported = {location, severity, text};
    Posted& posted = ThePosted();
    PostedLock lock(posted.mLock);
    std::swap(posted.mLastReported, reported);
}

void U_ClearLastReportedError()
{
    Reported none;
    Posted& posted = ThePosted();
    PostedLock lock(posted.mLock);
    std::swap(posted.mLastReported, none);
}

void U_IncrementPostErrors()
{
    if (Up_GlobalsAreGood())
        Globals()->mPostErrors.fetch_add(1);
}

void U_DecrementPostErrors()
{
    if (Up_GlobalsAreGood())
        Globals()->mPostErrors.fetch_sub(1);
}

void U_DisplayPostedErrors()
{
    PostedErrors errors = TakePosted();
    Showing showing(errors);
    // Without memory to coalesce, the messages are shown one by one, as posted.
    Guarded([&] { Coalesce(errors); });
    showing.ShowInOrder();
}
