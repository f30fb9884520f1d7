// Output files that replace another file.

#include "system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <win32/native/paths.h>
#include <win32/native/windows_api.h>

#include "messages.h"

namespace
{
const int kMostNames = 1000; // tried for a new file

[[noreturn]] void FailBySystem(const std::string& name)
{
    FailToWrite(name, std::strerror(win32::ErrorNumber(::GetLastError())));
}

class ScHandle
{
public:
    explicit ScHandle(HANDLE handle) : mHandle(handle) {}
    ~ScHandle()
    {
        if (IsOpen())
            ::CloseHandle(mHandle);
    }
    ScHandle(const ScHandle&) = delete;
    ScHandle& operator=(const ScHandle&) = delete;

    bool IsOpen() const { return mHandle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return mHandle; }

private:
    const HANDLE mHandle;
};

// The file that a name leads to, after all links.
struct Target
{
    std::wstring mPath;
    bool mExists;
    bool mIsRegular;
};

// Returns the path without links, in the form for the system's functions.
std::wstring FinalPath(HANDLE file, const std::string& name)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD room = static_cast<DWORD>(path.size());
        const DWORD length =
            ::GetFinalPathNameByHandleW(file, path.data(), room, FILE_NAME_NORMALIZED);
        if (!length)
            FailBySystem(name);
        path.resize(length);
        if (length < room)
            return path;
    }
}

// Keeps the last error. A link is there even if its target is not.
bool IsThere(const std::wstring& path)
{
    const DWORD error = ::GetLastError();
    const bool isThere = ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    ::SetLastError(error);
    return isThere;
}

Target FindTarget(const std::string& name)
{
    const std::wstring path = win32::SystemPath(name);
    const DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const ScHandle file(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, shared, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!file.IsOpen())
    {
        // A link to a file that does not exist is refused.
        if (::GetLastError() != ERROR_FILE_NOT_FOUND || IsThere(path))
            FailBySystem(name);
        return {path, false, true};
    }
    BY_HANDLE_FILE_INFORMATION info = {};
    if (::GetFileType(file.Get()) != FILE_TYPE_DISK)
        return {path, true, false};
    if (!::GetFileInformationByHandle(file.Get(), &info))
        FailBySystem(name);
    if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        FailToWrite(name, std::strerror(EISDIR));
    const DWORD attributes = ::GetFileAttributesW(path.c_str()); // of the link, if it is one
    const bool isLink =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
    return {isLink ? FinalPath(file.Get(), name) : path, true, true};
}

// A file in the folder of the target. Its own name is replaced by the target's when it is
// complete.
class NewFile
{
public:
    NewFile(const Target& target, const std::string& name)
        : mTarget(target), mName(name), mFile(Create())
    {
    }
    ~NewFile()
    {
        mFile.Close(); // an open file can't be removed
        if (!mPath.empty())
            ::DeleteFileW(mPath.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Write(const std::string& bytes)
    {
        WriteAll(mFile.Get(), bytes, mName);
        if (::_commit(mFile.Get()) != 0 || !mFile.Close())
            FailToWrite(mName, std::strerror(errno));
        if (!Replace())
            Fail();
        mPath.clear();
    }

private:
    // ReplaceFileW keeps the attributes and the access rights of the old file. It may fail after
    // the end of the old file, with the new file under its own name.
    bool Replace() const
    {
        const wchar_t* const target = mTarget.mPath.c_str();
        if (mTarget.mExists &&
            ::ReplaceFileW(target, mPath.c_str(), nullptr, 0, nullptr, nullptr) != 0)
            return true;
        return (!mTarget.mExists || !IsThere(mTarget.mPath)) &&
               ::MoveFileExW(mPath.c_str(), target, MOVEFILE_WRITE_THROUGH) != 0;
    }

    // Keeps the new file if the old file is lost or not found.
    [[noreturn]] void Fail()
    {
        const DWORD error = ::GetLastError();
        const bool isLost = mTarget.mExists && !IsThere(mTarget.mPath);
        const std::wstring kept = isLost ? std::exchange(mPath, {}) : std::wstring();
        std::string why = std::strerror(win32::ErrorNumber(error));
        if (isLost)
            why += " (the new file is " + win32::UTF8Of(kept) + ")";
        FailToWrite(mName, why);
    }

    // _O_EXCL refuses a file that another process made, so the name may be guessed.
    Descriptor Create()
    {
        unsigned int number = ::GetCurrentProcessId();
        for (int attempt = 1;; ++attempt, ++number)
        {
            wchar_t suffix[8];
            std::swprintf(suffix, sizeof(suffix) / sizeof(*suffix), L".%06x", number & 0xFFFFFF);
            mPath = mTarget.mPath + suffix;
            const int file =
                ::_wopen(mPath.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                         _S_IREAD | _S_IWRITE);
            if (file >= 0)
                return Descriptor(file);
            if (errno == EEXIST && attempt < kMostNames)
                continue;
            const int reason = errno;
            mPath.clear();
            FailToWrite(mName, std::strerror(reason));
        }
    }

    const Target& mTarget;
    const std::string& mName; // for messages
    std::wstring mPath;
    Descriptor mFile;
};
} // namespace

void WriteNamed(const std::string& name, const std::string& bytes, Content content)
{
    const Target target = FindTarget(name);
    if (!target.mIsRegular)
        return WriteInPlace(::_wopen(target.mPath.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT),
                            bytes, content, name);
    NewFile(target, name).Write(bytes);
}
