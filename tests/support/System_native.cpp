#include "tests/support/System.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include <win32/native/windows_api.h>

namespace
{
std::string ToUTF8(const wchar_t* text)
{
    char bytes[1024] = {};
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof(bytes) - 1, nullptr, nullptr);
    return bytes;
}
} // namespace

const int kBadAccess = static_cast<int>(EXCEPTION_ACCESS_VIOLATION);
const int kIllegalInstruction = static_cast<int>(EXCEPTION_ILLEGAL_INSTRUCTION);
const int kDivisionByZero = static_cast<int>(EXCEPTION_INT_DIVIDE_BY_ZERO);
const int kFloatDivisionByZero = static_cast<int>(EXCEPTION_FLT_DIVIDE_BY_ZERO);
const int kAborted = 3;
const int kInvalidParameter = static_cast<int>(STATUS_STACK_BUFFER_OVERRUN); // of a fast failure
const int kPureVirtualCall = static_cast<int>(EXCEPTION_ACCESS_VIOLATION);

int ExitWith(int code)
{
    return code;
}

int EndOf(int status)
{
    return status;
}

bool IsWindows()
{
    return true;
}

bool IsWine()
{
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::string NetworkName()
{
    wchar_t name[256] = {};
    DWORD size = 256;
    ::GetComputerNameExW(ComputerNameDnsHostname, name, &size);
    return ToUTF8(name);
}

std::string MachineName()
{
    wchar_t name[256] = {};
    DWORD size = 256;
    ::GetComputerNameW(name, &size);
    return ToUTF8(name);
}

std::string UserName()
{
    wchar_t name[256] = {};
    DWORD size = 256;
    ::GetUserNameW(name, &size);
    return ToUTF8(name);
}

const std::size_t kLongestThreadName = 63;

// The compiler's headers do not declare GetThreadDescription.
std::string ThreadName()
{
    typedef HRESULT(WINAPI * GetDescription)(HANDLE thread, wchar_t * *description);
    const auto get = reinterpret_cast<GetDescription>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription")));
    wchar_t* text = nullptr;
    if (!get || FAILED(get(::GetCurrentThread(), &text)))
        return "";
    const std::string name = ToUTF8(text);
    ::LocalFree(text);
    return name;
}

bool HasLowPriority()
{
    return ::GetThreadPriority(::GetCurrentThread()) < THREAD_PRIORITY_NORMAL;
}

double SecondsSinceStart()
{
    return static_cast<double>(::GetTickCount64() / 1000);
}

// Wine's ReadProcessMemory also reads memory without access.
bool IsReadable(const void* address)
{
    MEMORY_BASIC_INFORMATION info = {};
    return ::VirtualQuery(address, &info, sizeof(info)) && info.State == MEM_COMMIT &&
           (info.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

// A new station is never visible.
ScNoDesktop::ScNoDesktop()
    : mStation(::CreateWindowStationW(nullptr, 0, WINSTA_ALL_ACCESS, nullptr)),
      mBefore(::GetProcessWindowStation())
{
    EXPECT_TRUE(::SetProcessWindowStation(static_cast<HWINSTA>(mStation)));
}

ScNoDesktop::~ScNoDesktop()
{
    ::SetProcessWindowStation(static_cast<HWINSTA>(mBefore));
    ::CloseWindowStation(static_cast<HWINSTA>(mStation));
}

void SetVariable(const char* name, const char* value)
{
    ::_putenv_s(name, value ? value : "");
}

std::vector<Words> VariablesOfU()
{
    std::vector<Words> found;
    char* const base = reinterpret_cast<char*>(::GetModuleHandleW(L"libU.dll"));
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(headers);
    for (int i = 0; i < headers->FileHeader.NumberOfSections; ++i)
    {
        const IMAGE_SECTION_HEADER& section = sections[i];
        void** const first = reinterpret_cast<void**>(base + section.VirtualAddress);
        if (section.Characteristics & IMAGE_SCN_MEM_WRITE)
            found.push_back({first, first + section.Misc.VirtualSize / sizeof(void*)});
    }
    return found;
}
