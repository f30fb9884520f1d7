#include <win32/process.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <fcntl.h>
#include <io.h>

#include <win32/text.h>

#include "../private/system.h"
#include "paths.h"
#include "windows_api.h"

// The compiler's headers do not declare this function.
extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace win32
{
namespace
{
typedef ::PROCESS_MEMORY_COUNTERS SystemCounters;

static_assert(sizeof(PROCESS_MEMORY_COUNTERS) == sizeof(SystemCounters));
static_assert(offsetof(PROCESS_MEMORY_COUNTERS, WorkingSetSize) ==
              offsetof(SystemCounters, WorkingSetSize));

typedef std::unique_ptr<void, HLOCAL (*)(HLOCAL)> LocalBlock;

LocalBlock Own(void* block)
{
    return LocalBlock(block, &::LocalFree);
}

// Returns the user of the process in the system's notation, empty on failure.
std::wstring UserOfProcess()
{
    // Room for the largest identifier of a user.
    alignas(TOKEN_USER) char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof(user);
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token))
        return L"";
    const BOOL isKnown = ::GetTokenInformation(token, TokenUser, user, size, &size);
    ::CloseHandle(token);
    wchar_t* text = nullptr;
    if (!isKnown || !::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user)->User.Sid, &text))
        return L"";
    const LocalBlock owned = Own(text);
    return text;
}

// Returns a security descriptor by which this user owns the file and nobody else may use the file.
// The descriptor is protected, so that no right of the folder is inherited. Null on failure.
LocalBlock MakeDescriptor()
{
    const std::wstring user = UserOfProcess();
    const std::wstring rights = L"O:" + user + L"D:P(A;;FA;;;" + user + L")";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ::ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1,
                                                           &descriptor, nullptr);
    return Own(descriptor);
}

// Stores the form of a path in the active code page that the system's functions accept at any
// length. Returns false for bytes that are no text: U+FFFD in their place would name another file.
//
// Throws: std::bad_alloc.
bool FindPath(const char* text, std::wstring* path)
{
    const int length = static_cast<int>(std::strlen(text));
    std::wstring units(static_cast<std::size_t>(length), 0);
    const int count =
        ::MultiByteToWideChar(GetACP(), MB_ERR_INVALID_CHARS, text, length, units.data(), length);
    units.resize(static_cast<std::size_t>(count));
    *path = SystemForm(units);
    return count || !length;
}

bool IsLink(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO info = {};
    return ::GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof(info)) &&
           (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Opens the link itself, not its target. Stores the error of a failure.
HANDLE OpenForAppending(const std::wstring& path, DWORD* error)
{
    const LocalBlock descriptor = MakeDescriptor();
    HANDLE file = INVALID_HANDLE_VALUE;
    if (descriptor)
    {
        SECURITY_ATTRIBUTES attributes = {sizeof(attributes), descriptor.get(), FALSE};
        file = ::CreateFileW(path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &attributes,
                             OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                             nullptr);
    }
    *error = ::GetLastError(); // before the descriptor is freed
    return file;
}

std::FILE* FailWith(int reason)
{
    errno = reason;
    return nullptr;
}

// Owns the handle.
std::FILE* ToFile(HANDLE handle)
{
    const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle),
                                             _O_APPEND | _O_TEXT | _O_NOINHERIT);
    if (descriptor < 0)
    {
        ::CloseHandle(handle);
        return FailWith(EMFILE);
    }
    std::FILE* const file = ::_fdopen(descriptor, "a");
    if (!file)
        ::_close(descriptor);
    return file;
}
} // namespace

void* GetCurrentProcess()
{
    return ::GetCurrentProcess();
}

unsigned int GetCurrentProcessId()
{
    return ::GetCurrentProcessId();
}

int GetProcessMemoryInfo(void* process, PROCESS_MEMORY_COUNTERS* counters, unsigned int size)
{
    return counters &&
           ::K32GetProcessMemoryInfo(process, reinterpret_cast<SystemCounters*>(counters), size);
}

int IsDebuggerPresent()
{
    return ::IsDebuggerPresent();
}

void DebugBreak()
{
    ::DebugBreak();
}

bool OtherThreadsHaveEnded()
{
    return ::RtlDllShutdownInProgress() != FALSE;
}

void WriteDebugString(const char* text)
{
    ::OutputDebugStringA(text);
}

int Beep(unsigned int type)
{
    return ::MessageBeep(type);
}

std::FILE* OpenPrivateLog(const char* path)
{
    try
    {
        std::wstring name;
        if (!FindPath(path, &name))
            return FailWith(EILSEQ);
        DWORD error = 0;
        const HANDLE handle = OpenForAppending(name, &error);
        if (handle == INVALID_HANDLE_VALUE)
            return FailWith(ErrorNumber(error));
        if (!IsLink(handle))
            return ToFile(handle);
        ::CloseHandle(handle);
        return FailWith(ELOOP);
    }
    catch (const std::bad_alloc&)
    {
        return FailWith(ENOMEM);
    }
}
} // namespace win32
