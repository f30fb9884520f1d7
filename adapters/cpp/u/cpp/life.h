// The library's life as an object of main.
//
//     U::cpp::Life life("Host");
//     if (!life)
//         std::exit(1);
//     // work, on any threads
//     const U_Status status = life.End();
//
// A process ends with a status, so Life returns status codes and throws nothing of its own. Life
// also registers the translator of StatusError (errors.h).
//
// Thread safety: as U_Birth and U_Death (U_Lifecycle.h): no other thread is in the library
// during the constructor and End.

#ifndef U_CPP_LIFE_H
#define U_CPP_LIFE_H

#include <system_error>
#include <utility>

#include <U_Lifecycle.h>
#include <U_MemServices.h>
#include <U_Threads.h>
#include <U_Types.h>

#include <u/cpp/errors.h>

namespace U::cpp
{
// One life of the library, from the constructor to End or the destructor, on the main thread.
//
// REQUIRES: owners of blocks, and threads that use the library, end before the life does. A host
// declares its Life first.
class Life
{
public:
    // Calls U_Birth. After a failure the host ends the process.
    explicit Life(const char* displayName, U_RunModeFunction runMode = nullptr)
        : mStatus(U_Birth(displayName, runMode)), mIsAlive(mStatus == 0)
    {
        if (mIsAlive && RegisterStatusTranslator() == 0)
        {
            End();
            mStatus = U_Err_OutOfMemory;
        }
    }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() { End(); }

    // Returns true from a successful birth to the end.
    explicit operator bool() const noexcept { return mIsAlive; }

    // Returns the result of U_Birth, and after the end the result of U_Death. A birth whose memory
    // log cannot be opened has the errno of the system, which may equal a status code.
    U_Status Status() const noexcept { return mStatus; }

    // Returns Status() with its category and so with its text: std::generic_category for the errno
    // of the memory log, otherwise StatusCategory (errors.h).
    //
    // Throws: std::bad_alloc.
    std::error_code Error() const
    {
        int openError = 0;
        U_GetMemoryLogPath(&openError);
        return mStatus != 0 && mStatus == openError
                   ? std::error_code(mStatus, std::generic_category())
                   : MakeErrorCode(mStatus);
    }

    // Calls U_Death and deregisters the main thread that birth registered. A later call, and a
    // call after a failed birth, does nothing.
    //
    // Returns: Status().
    U_Status End()
    {
        if (std::exchange(mIsAlive, false))
        {
            mStatus = U_Death();
            U_DeregisterMainThread();
        }
        return mStatus;
    }

private:
    U_Status mStatus;
    bool mIsAlive;
};
} // namespace U::cpp

#endif
