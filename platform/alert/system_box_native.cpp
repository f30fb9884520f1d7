#include "system.h"

#include <win32/message_box.h>
#include <win32/native/windows_api.h>

#include "layout.h"

namespace platform
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

static_assert(win32::kBoxIconError == MB_ICONERROR && win32::kBoxIconQuestion == MB_ICONQUESTION &&
              win32::kBoxIconWarning == MB_ICONWARNING &&
              win32::kBoxIconNote == MB_ICONINFORMATION && win32::kBoxTaskModal == MB_TASKMODAL &&
              win32::kBoxTopmost == MB_TOPMOST);

// Below the text of a failed assertion.
const char kQuestion[] = "\n\nBreak into the debugger?\n"
                         "(Cancel: go on, and do not ask for this assertion again.)";

// The desktop of a service is never visible: a box there would wait without end.
bool HasDesktop()
{
    USEROBJECTFLAGS flags = {};
    DWORD needed = 0;
    return ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags,
                                       sizeof(flags), &needed) &&
           (flags.dwFlags & WSF_VISIBLE);
}

// The flags that a host may set. Others would replace the buttons.
const UINT kKnownFlags = MB_ICONMASK | MB_TASKMODAL | MB_TOPMOST;

UINT IconFlag(const Alert& alert)
{
    using namespace kroview::dialogs::messagebox;
    switch (IconOf(alert))
    {
    case kIconError:
        return MB_ICONERROR;
    case kIconQuestion:
        return MB_ICONQUESTION;
    case kIconWarning:
        return MB_ICONWARNING;
    case kIconNote:
        return MB_ICONINFORMATION;
    case kIconNone:
        break;
    }
    return 0;
}

AssertAnswer AnswerOf(int button)
{
    switch (button)
    {
    case IDYES:
        return kAnswerBreak;
    case IDCANCEL:
        return kAnswerGoOnAlways;
    default:
        return kAnswerGoOn;
    }
}
} // namespace

bool PresentInSystemBox(const Alert& alert)
{
    if (!HasDesktop())
        return false;
    UTF16String text = alert.text;
    if (alert.answer)
        text.append(kQuestion, kQuestion + sizeof(kQuestion) - 1);
    const UINT look =
        alert.throughHost ? IconFlag(alert) | MB_TASKMODAL | MB_TOPMOST : alert.flags & kKnownFlags;
    const UINT buttons = alert.answer ? MB_YESNOCANCEL | MB_DEFBUTTON2 : MB_OK;
    const wchar_t* const title = alert.hasTitle ? win32::Wide(alert.title.c_str()) : nullptr;
    const int button =
        ::MessageBoxW(nullptr, win32::Wide(text.c_str()), title, look | buttons | MB_SETFOREGROUND);
    if (button > 0 && alert.answer)
        *alert.answer = AnswerOf(button);
    win32::RethrowFromProcedures();
    return button > 0;
}
} // namespace platform
