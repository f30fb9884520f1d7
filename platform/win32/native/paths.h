// Names of files: UTF-8 above the system's functions, and any units of 16 bits in them.
//
//     const std::wstring path = win32::SystemPath("C:\\caf\xC3\xA9.txt");
//     const HANDLE file = ::CreateFileW(path.c_str(), ...);
//
// Throws: std::bad_alloc, from all functions that return a text.
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_NATIVE_PATHS_H
#define WIN32_NATIVE_PATHS_H

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include <boost/system/error_code.hpp>

#include <platform/base/code_units.h>

#include "windows_api.h"

namespace win32
{
// Returns the position of the first half of a surrogate pair without its other half, or the end.
inline std::size_t FindHalf(std::wstring_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool isHigh = platform::IsHighSurrogate(text[i]);
        if (isHigh && i + 1 < text.size() && platform::IsLowSurrogate(text[i + 1]))
            ++i;
        else if (isHigh || platform::IsLowSurrogate(text[i]))
            return i;
    }
    return text.size();
}

// The same in bytes of UTF8Of.
inline std::size_t FindHalf(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (std::size_t i = 0; i + 2 < text.size(); ++i)
    {
        if (byteAt(i) == 0xED && byteAt(i + 1) >= 0xA0 && byteAt(i + 1) < 0xC0 &&
            platform::IsUTF8Continuation(byteAt(i + 2)))
            return i;
    }
    return text.size();
}

// Names of files are any units. A half of a surrogate pair has the three bytes that UTF-8 would
// give to its number, so that each name has a text of its own.
inline std::string UTF8Of(std::wstring_view text)
{
    std::string bytes;
    for (;; text.remove_prefix(1))
    {
        const std::size_t length = FindHalf(text);
        std::string part(3 * length, '\0');
        part.resize(static_cast<std::size_t>(
            ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(length), part.data(),
                                  static_cast<int>(part.size()), nullptr, nullptr)));
        bytes += part;
        text.remove_prefix(length);
        if (text.empty())
            return bytes;
        const unsigned int half = text.front();
        bytes += static_cast<char>(0xE0 | half >> 12);
        bytes += static_cast<char>(0x80 | (half >> 6 & 0x3F));
        bytes += static_cast<char>(0x80 | (half & 0x3F));
    }
}

// The inverse of UTF8Of. Other bytes become U+FFFD.
inline std::wstring WideOf(std::string_view text)
{
    std::wstring units;
    for (;; text.remove_prefix(3))
    {
        const std::size_t length = FindHalf(text);
        std::wstring part(length, L'\0');
        part.resize(static_cast<std::size_t>(
            ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(length), part.data(),
                                  static_cast<int>(length))));
        units += part;
        text.remove_prefix(length);
        if (text.empty())
            return units;
        units += static_cast<wchar_t>(0xD000 | (text[1] & 0x3F) << 6 | (text[2] & 0x3F));
    }
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

// Returns the path of the file of a module; null means the program. Empty on failure, with the
// system's error.
inline std::wstring ModulePath(HMODULE module)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD room = static_cast<DWORD>(path.size());
        const DWORD length = ::GetModuleFileNameW(module, path.data(), room);
        path.resize(length < room ? length : 2 * room);
        if (length < room)
            return path;
    }
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
