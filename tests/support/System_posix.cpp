#include "tests/support/System.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <link.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

const int kBadAccess = SIGSEGV;
const int kIllegalInstruction = SIGILL;
const int kDivisionByZero = SIGFPE;
const int kFloatDivisionByZero = SIGFPE;
const int kAborted = SIGABRT;
const int kInvalidParameter = SIGABRT;
const int kPureVirtualCall = SIGABRT;

int ExitWith(int code)
{
    const int kMostSignals = 1000;
    return kMostSignals + code;
}

int EndOf(int status)
{
    return WIFSIGNALED(status) ? WTERMSIG(status) : ExitWith(WEXITSTATUS(status));
}

bool IsWindows()
{
    return false;
}

bool IsWine()
{
    return false;
}

std::string NetworkName()
{
    char name[256] = {};
    return gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

std::string MachineName()
{
    const std::string host = NetworkName();
    return host.substr(0, host.find('.'));
}

std::string UserName()
{
    const passwd* const user = getpwuid(geteuid());
    return user ? user->pw_name : "";
}

const std::size_t kLongestThreadName = 15;

std::string ThreadName()
{
    char name[kLongestThreadName + 1] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

bool HasLowPriority()
{
    const id_t thread = static_cast<id_t>(syscall(SYS_gettid));
    const id_t process = static_cast<id_t>(getpid());
    return getpriority(PRIO_PROCESS, thread) > getpriority(PRIO_PROCESS, process);
}

double SecondsSinceStart()
{
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec);
}

bool IsReadable(const void* address)
{
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const bool readable = write(ends[1], address, 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return readable;
}

ScNoDesktop::ScNoDesktop() = default;
ScNoDesktop::~ScNoDesktop() = default;

void SetVariable(const char* name, const char* value)
{
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

std::vector<Words> VariablesOfU()
{
    std::vector<Words> found;
    const auto visit = [](dl_phdr_info* object, std::size_t, void* result) {
        if (!std::strstr(object->dlpi_name, "/libU.so"))
            return 0;
        for (int i = 0; i < object->dlpi_phnum; ++i)
        {
            const ElfW(Phdr)& part = object->dlpi_phdr[i];
            void** const first = reinterpret_cast<void**>(object->dlpi_addr + part.p_vaddr);
            if (part.p_type == PT_LOAD && part.p_flags & PF_W)
                static_cast<std::vector<Words>*>(result)->push_back(
                    {first, first + part.p_memsz / sizeof(void*)});
        }
        return 1;
    };
    ::dl_iterate_phdr(visit, &found);
    return found;
}
