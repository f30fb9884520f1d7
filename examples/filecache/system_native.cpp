#include "system.h"

#include <algorithm>
#include <cstring>

#include <sys/stat.h>

#include <win32/native/paths.h>
#include <win32/native/windows_api.h>

std::string ProgramFile(std::error_code& error)
{
    const std::wstring path = win32::ModulePath(nullptr);
    if (path.empty())
        error = {win32::ErrorNumber(::GetLastError()), std::generic_category()};
    return win32::UTF8Of(path);
}

std::string DefaultFolder()
{
    wchar_t windows[MAX_PATH];
    const UINT length = ::GetSystemWindowsDirectoryW(windows, MAX_PATH);
    return win32::UTF8Of({windows, std::min<UINT>(length, MAX_PATH)}) + "\\INF";
}

// The one program that the host runs, memlog, is not on Windows.
bool RunProgram(const std::vector<std::string>&, std::error_code& error)
{
    error = std::make_error_code(std::errc::function_not_supported);
    return false;
}

std::FILE* OpenFile(const std::string& path, const char* mode)
{
    const std::wstring name = win32::SystemPath(path);
    const std::wstring wideMode(mode, mode + std::strlen(mode));
    std::FILE* const file = ::_wfopen(name.c_str(), wideMode.c_str());
    if (!file)
        win32::CorrectOpenError(name);
    return file;
}

unsigned long long SizeOf(std::FILE* file)
{
    struct _stati64 state = {};
    const bool isRegular =
        ::_fstati64(::_fileno(file), &state) == 0 && (state.st_mode & _S_IFMT) == _S_IFREG;
    return isRegular ? static_cast<unsigned long long>(state.st_size) : 0;
}
