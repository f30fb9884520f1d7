// Names of files: UTF-8 above the system's functions, UTF-16 in them.
//
//     const std::wstring path = win32::SystemPath("C:\\caf\xC3\xA9.txt");
//     const HANDLE file = ::CreateFileW(path.c_str(), ...);
//
// Throws: std::bad_alloc, from all functions that return a text.
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_NATIVE_PATHS_H
#define WIN32_NATIVE_PATHS_H

#include <cerrno>
#include <string>
#include <string_view>

#include <boost/system/error_code.hpp>

#include "windows_api.h"

namespace win32
{
// Bytes that are not UTF-8, and halves of surrogate pairs, become U+FFFD, which no name of a file
// on a usual disk includes.
inline std::wstring WideOf(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    const int count = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring units(static_cast<std::size_t>(count), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, units.data(), count);
    return units;
}

inline std::string UTF8Of(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    const int count =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(count), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), count, nullptr, nullptr);
    return bytes;
}

// Returns the absolute path without "." and ".."; the path itself if the system refuses it.
inline std::wstring AbsolutePath(const std::wstring& path)
{
    std::wstring absolute(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD room = static_cast<DWORD>(absolute.size());
        const DWORD length = ::GetFullPathNameW(path.c_str(), room, absolute.data(), nullptr);
        absolute.resize(length);
        if (!length)
            return path;
        if (length < room)
            return absolute;
    }
}

// Returns the path in the form for the system's functions: absolute and after a mark, without which
// those refuse paths of more than 260 units. Names of devices have a mark of their own.
inline std::wstring SystemForm(const std::wstring& path)
{
    const std::wstring absolute = AbsolutePath(path);
    if (absolute.size() > 2 && absolute.compare(1, 2, L":\\") == 0)
        return L"\\\\?\\" + absolute;
    const bool isShare =
        absolute.compare(0, 2, L"\\\\") == 0 && absolute[2] != L'?' && absolute[2] != L'.';
    return isShare ? L"\\\\?\\UNC" + absolute.substr(1) : absolute;
}

inline std::wstring SystemPath(std::string_view path)
{
    return SystemForm(WideOf(path));
}

// Corrects errno after a failure to open a file: the C runtime reports a folder as a file without
// permission.
inline void CorrectOpenError(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (errno == EACCES && attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & FILE_ATTRIBUTE_DIRECTORY))
        errno = EISDIR;
}

// Returns the errno of an error of the system.
inline int ErrorNumber(DWORD error)
{
    const boost::system::error_condition condition =
        boost::system::error_code(static_cast<int>(error), boost::system::system_category())
            .default_error_condition();
    return condition.category() == boost::system::generic_category() ? condition.value() : EINVAL;
}
} // namespace win32

#endif
