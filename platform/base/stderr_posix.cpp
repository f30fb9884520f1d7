#include "printable.h"

#include <csignal>
#include <ctime>

#include "write_all_posix.h"

namespace platform
{
namespace
{
// While the scope lasts, a write of this thread to a broken pipe fails without the signal that
// would end the process.
class ScNoPipeSignal
{
public:
    ScNoPipeSignal()
    {
        sigemptyset(&mPipe);
        sigaddset(&mPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &mPipe, &mBefore);
    }
    ~ScNoPipeSignal() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    ScNoPipeSignal(const ScNoPipeSignal&) = delete;
    ScNoPipeSignal& operator=(const ScNoPipeSignal&) = delete;

    // Drops the signal of a failed write. A host that blocks the signal may have sent the signal
    // itself, so that the signal stays pending then.
    void Drop() const
    {
        const timespec none = {};
        if (sigismember(&mBefore, SIGPIPE) == 0)
            sigtimedwait(&mPipe, nullptr, &none);
    }

private:
    sigset_t mPipe = {};
    sigset_t mBefore = {};
};
} // namespace

void WriteToStderr(std::string_view text)
{
    const ScNoPipeSignal none;
    flockfile(stderr); // no line of another thread between two writes
    std::fflush(stderr);
    const bool isWhole = WriteAll(fileno(stderr), text) == text.size();
    if (!isWhole && errno == EPIPE)
        none.Drop();
    funlockfile(stderr);
}
} // namespace platform
