// The library's life as an object of main.
//
//     U::cpp::Life life("Host");
//     if (!life)
//         std::exit(1);
//     // work, on any threads
//     const U_Status status = life.End();
//
// A process ends with a status, so Life returns status codes and throws nothing of its own.
//
// Thread safety: as U_Birth and U_Death (U_Lifecycle.h): no other thread is in the library
// during the constructor and End.

#ifndef U_CPP_LIFE_H
#define U_CPP_LIFE_H

#include <utility>

#include <U_Lifecycle.h>
#include <U_Threads.h>
#include <U_Types.h>

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
    }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() { End(); }

    // Returns true from a successful birth to the end.
    explicit operator bool() const noexcept { return mIsAlive; }

    // Returns the result of U_Birth, and after the end the result of U_Death.
    U_Status Status() const noexcept { return mStatus; }

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
