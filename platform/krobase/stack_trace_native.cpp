#include "stack_trace.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>

#include <backtrace.h>
#include <boost/core/demangle.hpp>

#include <win32/native/paths.h>
#include <win32/native/windows_api.h>

#include <unwind.h> // after windows_api.h

#include "private/call_site.h"

namespace krobase
{
namespace debug
{
namespace
{
// The debug information of a program or of a DLL.
struct Module
{
    std::string mPath; // empty if the file cannot be read; libbacktrace keeps no copy
    backtrace_state* mState;
    std::uintptr_t mShift; // from an address in memory to the address in the file
};

struct CallSite
{
    std::string mFunction; // as the linker spells the name
    std::string mPath;
    std::size_t mLine = 0;
};

void Ignore(void*, const char*, int) {}

// Returns the address for which the file is linked, 0 on failure. The header in memory has the
// address at which the module lies.
std::uintptr_t LinkedAddress(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    IMAGE_DOS_HEADER first = {};
    IMAGE_NT_HEADERS64 header = {};
    file.read(reinterpret_cast<char*>(&first), sizeof(first));
    file.seekg(first.e_lfanew);
    file.read(reinterpret_cast<char*>(&header), sizeof(header));
    return file && header.Signature == IMAGE_NT_SIGNATURE ? header.OptionalHeader.ImageBase : 0;
}

// Returns the bytes with which the C runtime names the file; empty if it has no such bytes.
std::string Narrow(const std::wstring& path)
{
    char bytes[4 * MAX_PATH];
    wchar_t same[MAX_PATH] = {};
    const bool isNamed = ::WideCharToMultiByte(CP_ACP, 0, path.c_str(), -1, bytes, sizeof(bytes),
                                               nullptr, nullptr) &&
                         ::MultiByteToWideChar(CP_ACP, 0, bytes, -1, same, MAX_PATH) &&
                         path == same;
    return isNamed ? bytes : "";
}

// Returns the path of the module for libbacktrace, which knows narrow paths alone: the path itself,
// or its short form if the path is long or has characters that the system's code page lacks. Empty
// without such a path.
std::string PathOf(HMODULE handle)
{
    const std::wstring path = win32::ModulePath(handle);
    const std::string narrow = Narrow(path);
    if (!narrow.empty())
        return narrow;
    wchar_t shortPath[MAX_PATH] = {};
    const DWORD length = ::GetShortPathNameW(win32::SystemForm(path).c_str(), shortPath, MAX_PATH);
    return length && length < MAX_PATH ? Narrow(shortPath) : "";
}

Module OpenModule(HMODULE handle)
{
    const std::string path = PathOf(handle);
    const std::uintptr_t linked = path.empty() ? 0 : LinkedAddress(path);
    if (!linked)
        return {};
    return {path, nullptr, linked - reinterpret_cast<std::uintptr_t>(handle)};
}

// Returns the module that an address belongs to, or null. A module that has ended keeps its
// entry.
Module* FindModule(const void* address)
{
    static std::map<HMODULE, Module>& sModules = *new std::map<HMODULE, Module>;
    const DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE handle = nullptr;
    // The system takes a null address for the program.
    if (!address || !::GetModuleHandleExW(flags, static_cast<const wchar_t*>(address), &handle))
        return nullptr;
    auto found = sModules.find(handle);
    if (found == sModules.end())
        found = sModules.emplace(handle, OpenModule(handle)).first;
    Module& module = found->second;
    if (!module.mState && !module.mPath.empty())
        module.mState = ::backtrace_create_state(module.mPath.c_str(), 0, &Ignore, nullptr);
    return module.mState ? &module : nullptr;
}

// Called for the function that the compiler has inlined first, and for the function in whose code
// the address lies last.
int StoreLine(void* data, std::uintptr_t, const char* path, int line, const char* function)
{
    CallSite& site = *static_cast<CallSite*>(data);
    if (path)
        site.mPath = path;
    if (function)
        site.mFunction = function;
    site.mLine = static_cast<std::size_t>(line);
    return 0;
}

void StoreSymbol(void* data, std::uintptr_t, const char* name, std::uintptr_t, std::uintptr_t)
{
    if (name)
        static_cast<CallSite*>(data)->mFunction = name;
}

CallSite Find(const void* address)
{
    CallSite site;
    const Module* const module = FindModule(address);
    if (!module)
        return site;
    const std::uintptr_t inFile = reinterpret_cast<std::uintptr_t>(address) + module->mShift;
    ::backtrace_pcinfo(module->mState, inFile, &StoreLine, &Ignore, &site);
    if (site.mFunction.empty())
        ::backtrace_syminfo(module->mState, inFile, &StoreSymbol, &Ignore, &site);
    return site;
}

struct Frames
{
    void** mAddresses;
    std::size_t mRoom;
    std::size_t mSkip; // frames that are still to be left out
    std::size_t mTaken;
};

_Unwind_Reason_Code StoreFrame(_Unwind_Context* context, void* data)
{
    Frames& frames = *static_cast<Frames*>(data);
    if (frames.mSkip)
    {
        --frames.mSkip;
        return _URC_NO_REASON;
    }
    const _Unwind_Ptr address = ::_Unwind_GetIP(context);
    if (frames.mTaken == frames.mRoom || !address)
        return _URC_END_OF_STACK;
    frames.mAddresses[frames.mTaken++] = reinterpret_cast<void*>(address);
    return _URC_NO_REASON;
}
} // namespace

// The system's own RtlCaptureStackBackTrace is no alternative: Wine begins one frame deeper.
std::size_t GenerateStackTrace(void** frames, std::size_t count, std::size_t skip)
{
    Frames found = {frames, std::min(count, kMostFrames), skip + 1, 0};
    ::_Unwind_Backtrace(&StoreFrame, &found);
    return found.mTaken;
}

std::string FunctionAt(const void* address)
{
    return boost::core::demangle(Find(address).mFunction.c_str());
}

std::string PathAt(const void* address)
{
    return Find(address).mPath;
}

std::size_t LineAt(const void* address)
{
    return Find(address).mLine;
}
} // namespace debug
} // namespace krobase
