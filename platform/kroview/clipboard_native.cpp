#include "datatransfer.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include <win32/native/windows_api.h>
#include <wril/wril.h>

#include "private/switches.h"

namespace kroview
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

// The number of the clipboard's contents after the last copy of the library; 0 before.
std::atomic<DWORD> sOwnContents(0);

bool HasOwnContents()
{
    const DWORD own = sOwnContents;
    return own && own == ::GetClipboardSequenceNumber();
}

// Opens the clipboard for a scope. The clipboard accepts data only from a window.
class ScClipboard
{
public:
    ScClipboard()
        : mWindow(::CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                    nullptr, nullptr)),
          mIsOpen(mWindow && ::OpenClipboard(mWindow))
    {
    }
    ~ScClipboard()
    {
        if (mIsOpen)
            ::CloseClipboard();
        if (mWindow)
            ::DestroyWindow(mWindow);
    }
    ScClipboard(const ScClipboard&) = delete;
    ScClipboard& operator=(const ScClipboard&) = delete;

    bool IsOpen() const { return mIsOpen; }

private:
    const HWND mWindow;
    const bool mIsOpen;
};

struct FreeGlobal
{
    void operator()(void* block) const { ::GlobalFree(block); }
};
typedef std::unique_ptr<void, FreeGlobal> GlobalBlock;

// Returns the text and a terminator in a block that the clipboard can own.
GlobalBlock BlockOf(const UTF16String& text)
{
    const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
    GlobalBlock block(::GlobalAlloc(GMEM_MOVEABLE, size));
    void* const bytes = block ? ::GlobalLock(block.get()) : nullptr;
    if (!bytes)
        throw std::bad_alloc();
    std::memcpy(bytes, text.c_str(), size);
    ::GlobalUnlock(block.get());
    return block;
}

// Returns the text of the block before its first terminator.
UTF16String TextOf(HANDLE block)
{
    const wchar_t* const units = block ? static_cast<const wchar_t*>(::GlobalLock(block)) : nullptr;
    if (!units)
        return {};
    const std::size_t length = wcsnlen(units, ::GlobalSize(block) / sizeof(wchar_t));
    const std::unique_ptr<void, decltype(&::GlobalUnlock)> unlock(block, &::GlobalUnlock);
    return UTF16String(win32::Units(units), length);
}

// Stores the number of the contents if they are the text. The system may change the number at the
// end of the opening in which the text was stored, and another program may replace the text then.
void KeepNumberOf(const UTF16String& text)
{
    const ScClipboard clipboard;
    const UTF16String shown = text.c_str(); // up to its first terminator
    if (clipboard.IsOpen() && TextOf(::GetClipboardData(CF_UNICODETEXT)) == shown)
        sOwnContents = ::GetClipboardSequenceNumber();
}

// Runs the action with the clipboard open if the contents are those of the library.
template <class Action> void WithOwnContents(Action action)
{
    if (HasOwnContents())
    {
        const ScClipboard clipboard;
        if (clipboard.IsOpen() && HasOwnContents())
            action();
    }
    win32::RethrowFromProcedures();
}
} // namespace

namespace datatransfer
{
void NewClipboardSendData(const UTF16String& text)
{
    GlobalBlock block = BlockOf(text);
    bool isCopied = false;
    {
        const ScClipboard clipboard;
        isCopied = clipboard.IsOpen() && ::EmptyClipboard() &&
                   ::SetClipboardData(CF_UNICODETEXT, block.get());
    }
    if (isCopied)
    {
        static_cast<void>(block.release()); // the clipboard owns the block
        KeepNumberOf(text);
    }
    else
    {
        WRIL_sprintf(0, "kroview", "NewClipboardSendData", "the clipboard refused the text");
    }
    win32::RethrowFromProcedures();
}
} // namespace datatransfer

UTF16String ClipboardText()
{
    UTF16String text;
    WithOwnContents([&] { text = TextOf(::GetClipboardData(CF_UNICODETEXT)); });
    return text;
}

// Leaves the text of another program.
void EmptyClipboard()
{
    WithOwnContents([] { ::EmptyClipboard(); });
}
} // namespace kroview
