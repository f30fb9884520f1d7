#include "tests/system_calls/FailingCalls.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{
struct Call
{
    int number;
    int error;
    bool waits;           // may be interrupted by a signal
    bool ofTools = false; // the library, as its tests run it, does not make this call
};

// Each call fails somewhere: the tests check this. Some errors are those of a sandbox. Not here,
// although the library makes these calls:
// - brk: the C library takes the error for the new end of the heap;
// - fcntl, rt_sigaction, rt_sigprocmask and sched_yield can't fail for good arguments;
// - getpid, gettid and geteuid can't fail;
// - set_robust_list and rseq: the C library makes them at the start of a thread, for itself;
// - dup: gettext's library crashes after a failure;
// - futex: the C library ends the process after a failure;
// - poll: no test here has a full pipe that does not block;
// - the clocks: they are read without a call, and library_test.cpp fails one.
const Call kCalls[] = {
    {SYS_openat, EMFILE, false},
    {SYS_read, EIO, true},
    {SYS_write, ENOSPC, true},
    {SYS_writev, ENOSPC, true, true},
    {SYS_newfstatat, EIO, false},
    {SYS_lseek, EINVAL, false},
    {SYS_fsync, EIO, false, true},
    {SYS_fchmod, EPERM, false, true},
    {SYS_fchmodat, EPERM, false, true},
    {SYS_rename, EIO, false, true},
    {SYS_renameat, EIO, false, true},
    {SYS_unlink, EIO, false},
    {SYS_unlinkat, EIO, false, true},
    {SYS_mkdir, ENOSPC, false, true},
    {SYS_rmdir, EIO, false, true},
    {SYS_readlink, EIO, false},
    {SYS_readlinkat, EIO, false, true},
    {SYS_fstatfs, EIO, false, true},
    {SYS_getdents64, EIO, false, true},
    {SYS_process_vm_readv, EPERM, false},
    {SYS_mmap, ENOMEM, false},
    {SYS_mprotect, ENOMEM, false},
    {SYS_munmap, ENOMEM, false},
    {SYS_madvise, ENOMEM, false},
    {SYS_clone3, EAGAIN, false},
    {SYS_getpriority, EPERM, false},
    {SYS_setpriority, EPERM, false},
    {SYS_prctl, EPERM, false},
    {SYS_rt_tgsigqueueinfo, EAGAIN, false},
    {SYS_sysinfo, EFAULT, false},
    {SYS_uname, EFAULT, false},
    {SYS_getrusage, EINVAL, false},
    {SYS_sigaltstack, ENOMEM, false},
    {SYS_socket, EMFILE, false},
    {SYS_connect, ECONNREFUSED, true},
    {SYS_ioctl, EIO, false, true},
    {SYS_close, EIO, false},
};

const std::size_t kPage = 0x1000;
const std::size_t kMostBytes = 0x10000; // of a short read or write

const Call& CallOf(int number)
{
    return *std::find_if(std::begin(kCalls), std::end(kCalls),
                         [number](const Call& call) { return call.number == number; });
}

bool IsInterruption(Failure failure)
{
    return failure == Failure::kInterrupted || failure == Failure::kInterruptedClose;
}

bool Concerns(Failure failure, const seccomp_data& data)
{
    if ((data.nr == SYS_close) != (failure >= Failure::kClose))
        return false;
    switch (failure)
    {
    case Failure::kInterrupted:
        return CallOf(data.nr).waits;
    case Failure::kShort:
        return data.nr == SYS_writev ||
               ((data.nr == SYS_read || data.nr == SYS_write) && data.args[2] > 1);
    default:
        return true;
    }
}

// Answers on its own thread, on which nothing may wait for the thread that made the call: no lock,
// no allocation.
class Answerer
{
public:
    Answerer(int intercepted, FailingCalls& calls, const char* begin)
        : mIntercepted(intercepted), mCalls(calls), mBegin(begin), mHasBegun(!*begin)
    {
    }

    void Run()
    {
        for (;;)
        {
            pollfd waiting = {mIntercepted, POLLIN, 0};
            if (poll(&waiting, 1, -1) < 0 && errno == EINTR)
                continue;
            if (!(waiting.revents & POLLIN))
                return;
            alignas(seccomp_notif) unsigned char room[256] = {};
            seccomp_notif& asked = *new (room) seccomp_notif();
            if (ioctl(mIntercepted, SECCOMP_IOCTL_NOTIF_RECV, &asked) == 0)
                Decide(asked);
        }
    }

private:
    void Decide(const seccomp_notif& asked)
    {
        alignas(seccomp_notif_resp) unsigned char room[256] = {};
        seccomp_notif_resp& answer = *new (room) seccomp_notif_resp();
        answer.id = asked.id;
        const Failure failure = static_cast<Failure>(mCalls.failure.load());
        const bool isOther = *mBegin && static_cast<pid_t>(asked.pid) != mCalls.process;
        if (isOther || !Begun(asked.data) || !Concerns(failure, asked.data) || !Fails())
            answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        else if (failure == Failure::kShort)
            AnswerWithHalf(asked.data, answer);
        else
            answer.error = IsInterruption(failure) ? -EINTR : -CallOf(asked.data.nr).error;
        // The system closes the file of a close that fails. The file of a child stays open.
        if (answer.error && asked.data.nr == SYS_close && mCalls.process == getpid())
            close(static_cast<int>(asked.data.args[0]));
        if (answer.flags != SECCOMP_USER_NOTIF_FLAG_CONTINUE)
            mCalls.hasFailed = mCalls.failed[asked.data.nr] = true;
        ioctl(mIntercepted, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }

    bool Begun(const seccomp_data& data)
    {
        if (mHasBegun || data.nr != SYS_openat)
            return mHasBegun;
        // Page by page, since there may be none after the path.
        char path[PATH_MAX + 1] = "";
        for (std::size_t size = 0; size < PATH_MAX && !std::memchr(path, 0, size);)
        {
            const std::uint64_t start = data.args[1] + size;
            const std::size_t step = std::min<std::size_t>(kPage - start % kPage, PATH_MAX - size);
            if (Move(SYS_process_vm_readv, path + size, start, step) <= 0)
                break;
            size += step;
        }
        const char* const slash = std::strrchr(path, '/');
        mHasBegun = !std::strncmp(slash ? slash + 1 : path, mBegin, std::strlen(mBegin));
        return mHasBegun;
    }

    bool Fails()
    {
        const long begin = mCalls.first;
        if (!begin)
            return false;
        const long number = ++mCalls.count;
        return number >= begin && number <= mCalls.last;
    }

    long Move(int call, void* own, std::uint64_t theirs, std::size_t size) const
    {
        const iovec here = {own, size};
        const iovec there = {reinterpret_cast<void*>(theirs), size};
        const unsigned long one = 1; // an int would leave half of a word on the stack undefined
        const unsigned long noFlags = 0;
        return syscall(call, mCalls.process.load(), &here, one, &there, one, noFlags);
    }

    // Returns the memory that the call writes or reads into: the first range of a list that is not
    // empty.
    iovec RangeOf(const seccomp_data& data) const
    {
        if (data.nr != SYS_writev)
            return {reinterpret_cast<void*>(data.args[1]), data.args[2]};
        iovec range = {};
        for (std::uint64_t index = 0; index < data.args[2] && !range.iov_len; ++index)
        {
            const std::uint64_t start = data.args[1] + index * sizeof(range);
            if (Move(SYS_process_vm_readv, &range, start, sizeof(range)) <= 0)
                break;
        }
        return range;
    }

    // Reads or writes half the bytes in the caller's place. Lets the caller make the whole call if
    // the system refuses the caller's file or memory.
    void AnswerWithHalf(const seccomp_data& data, seccomp_notif_resp& answer)
    {
        const iovec range = RangeOf(data);
        const std::uint64_t start = reinterpret_cast<std::uint64_t>(range.iov_base);
        const std::size_t size = std::min(kMostBytes, range.iov_len / 2);
        const int process = static_cast<int>(syscall(SYS_pidfd_open, mCalls.process.load(), 0));
        const int file =
            static_cast<int>(syscall(SYS_pidfd_getfd, process, static_cast<int>(data.args[0]), 0));
        // Also before a read: later its bytes could no longer be put back.
        const bool hasMemory =
            size && Move(SYS_process_vm_readv, mBytes, start, size) == static_cast<long>(size);
        if (file < 0 || !hasMemory)
        {
            answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        }
        else
        {
            const bool reads = data.nr == SYS_read;
            const ssize_t moved = reads ? read(file, mBytes, size) : write(file, mBytes, size);
            answer.error = moved < 0 ? -errno : 0;
            answer.val = std::max<ssize_t>(moved, 0);
            if (reads && moved > 0)
                Move(SYS_process_vm_writev, mBytes, start, static_cast<std::size_t>(moved));
        }
        close(file);
        close(process);
    }

    const int mIntercepted;
    FailingCalls& mCalls;
    const char* const mBegin;
    bool mHasBegun;
    unsigned char mBytes[kMostBytes];
};
} // namespace

void FailingCalls::Begin(Failure theFailure, long nth, bool forGood)
{
    process = getpid();
    failure = static_cast<int>(theFailure);
    count = 0;
    hasFailed = false;
    last = forGood ? std::numeric_limits<long>::max() : nth;
    first = nth;
}

void FailingCalls::End()
{
    first = 0;
}

std::vector<int> NeverFailed(const FailingCalls& calls, bool ofTools)
{
    std::vector<int> numbers;
    for (const Call& call : kCalls)
    {
        if (call.ofTools == ofTools && !calls.failed[call.number])
            numbers.push_back(call.number);
    }
    return numbers;
}

void* SharedMemory(std::size_t size)
{
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    return memory;
}

int InterceptCalls()
{
    const std::size_t kFirst = 1; // index of the first comparison
    const std::size_t count = std::size(kCalls);
    sock_filter filter[kFirst + std::size(kCalls) + 2] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (std::size_t index = 0; index < count; ++index)
        filter[kFirst + index] =
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(kCalls[index].number),
                     static_cast<unsigned char>(count - index), 0);
    filter[kFirst + count] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[kFirst + count + 1] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF);
    const sock_fprog program = {static_cast<unsigned short>(std::size(filter)), filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return static_cast<int>(
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

void Answer(int intercepted, FailingCalls& calls, const char* begin)
{
    Answerer(intercepted, calls, begin).Run();
}
