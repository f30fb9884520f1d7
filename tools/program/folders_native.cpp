#include "folders.h"

#include <memory>
#include <string_view>

#include <win32/native/paths.h>
#include <win32/native/windows_api.h>

namespace fs = std::filesystem;

namespace
{
std::error_code LastError()
{
    return {win32::ErrorNumber(::GetLastError()), std::generic_category()};
}

fs::file_type TypeOf(DWORD attributes)
{
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        return fs::file_type::directory;
    return attributes & FILE_ATTRIBUTE_DEVICE ? fs::file_type::unknown : fs::file_type::regular;
}

// Links to files and to folders are of one type.
fs::file_type TypeOf(const WIN32_FIND_DATAW& entry)
{
    const bool isReparsePoint = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (isReparsePoint && IsReparseTagNameSurrogate(entry.dwReserved0))
        return fs::file_type::symlink;
    return TypeOf(entry.dwFileAttributes);
}
} // namespace

// Not by std::filesystem: the C runtime refuses the "?" in the form for the system's functions.
fs::file_type TypeOf(const std::string& path, std::error_code& error)
{
    const std::wstring name = win32::SystemPath(path);
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES)
        return TypeOf(attributes);
    error = LastError();
    return error == std::errc::no_such_file_or_directory ? fs::file_type::not_found
                                                         : fs::file_type::none;
}

// Not by fs::directory_iterator, which lists the current folder in place of one with a long path.
std::error_code ListFolder(const std::string& path, const TakeEntry& take)
{
    WIN32_FIND_DATAW entry = {};
    std::wstring pattern = win32::SystemPath(path);
    pattern += !pattern.empty() && pattern.back() == L'\\' ? L"*" : L"\\*";
    const HANDLE search =
        ::FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr,
                           FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE) // an empty root of a drive has no entry, not even "."
        return ::GetLastError() == ERROR_FILE_NOT_FOUND ? std::error_code() : LastError();
    const std::unique_ptr<void, BOOL (*)(HANDLE)> end(
        search, [](HANDLE open) { return ::FindClose(open); });
    do
    {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L".." &&
            !take(win32::UTF8Of(name), TypeOf(entry), std::error_code()))
            return {};
    } while (::FindNextFileW(search, &entry));
    return ::GetLastError() == ERROR_NO_MORE_FILES ? std::error_code() : LastError();
}
