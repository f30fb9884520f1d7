#include "present.h"

#include <stdexcept>
#include <string>

#include <krobase/debug.h>
#include <kroview/messagebox.h>
#include <platform/base/switched_function.h>
#include <win32/message_box.h>
#include <win32/text.h>

namespace platform
{
namespace
{
typedef SwitchedFunction<void(const Alert&)> Presenter;
Presenter& sPresenter = *new Presenter;
krobase::utility::UTF16String FromUTF8(const std::string& text)
{
    const unsigned int codePage = win32::kCodePageUTF8;
    const int room = win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, nullptr, 0);
    krobase::utility::UTF16String units(static_cast<std::size_t>(room), 0);
    win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, units.data(), room);
    return units.substr(0, units.size() - 1); // without the terminator
}

// The text with a lead before it, nothing if there is no text.
std::string Part(const char* lead, const char* text)
{
    return text && *text ? std::string(lead) + text : std::string();
}
} // namespace

void Present(const Alert& alert)
{
    if (const auto presenter = sPresenter.Get())
        (*presenter)(alert);
    else
        PresentOnConsole(alert);
}

void SetAlertPresenter(const AlertPresenter& presenter)
{
    sPresenter.Set(presenter);
}
} // namespace platform

namespace krobase
{
namespace debug
{
bool BreakAfterAssertDialog(bool& ignoreAlways, const char* expression, const char* message,
                            const char* file, int line, const char* function)
{
    const std::string text = platform::Part("", expression) + platform::Part("\n", message) +
                             "\n\nline " + std::to_string(line) + platform::Part(" of ", file) +
                             platform::Part("\nin ", function);
    platform::AssertAnswer answer = platform::kAnswerGoOn;
    platform::Alert alert = {};
    alert.hasTitle = true;
    alert.title = platform::FromUTF8("Assertion failed");
    alert.text = platform::FromUTF8(text);
    alert.flags = win32::kBoxIconError | win32::kBoxTaskModal | win32::kBoxTopmost;
    alert.answer = &answer;
    platform::Present(alert);
    if (answer == platform::kAnswerGoOnAlways)
        ignoreAlways = true;
    return answer == platform::kAnswerBreak;
}
} // namespace debug
} // namespace krobase

namespace kroview
{
namespace dialogs
{
namespace messagebox
{
int Messagebox(pencart::SupplierInterface* supplier, const krobase::utility::UTF16String& title,
               const krobase::utility::UTF16String& text, int kind, int button, int icon,
               const boost::intrusive_ptr<ui::UI_Node>& node, const MessageHandler&,
               float widthHint, float)
{
    if (!supplier || !node)
        throw std::invalid_argument("a message box needs the host's supplier and node");
    if (kind != kKindAlert || button != kButtonOK)
        throw std::invalid_argument("a message box is an alert with an OK button");
    // The host may let go of its window while the box is up.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const boost::intrusive_ptr<ui::UI_Node> held = node;
    platform::Alert alert = {};
    alert.throughHost = true;
    alert.hasTitle = true;
    alert.title = title;
    alert.text = text;
    alert.icon = icon;
    alert.sizeHint = widthHint;
    platform::Present(alert);
    return kButtonOK;
}
} // namespace messagebox
} // namespace dialogs
} // namespace kroview

namespace win32
{
int MessageBoxW(void*, const unsigned short* text, const unsigned short* title, unsigned int flags)
{
    platform::Alert alert = {};
    alert.hasTitle = title != nullptr;
    if (title)
        alert.title = title;
    if (text)
        alert.text = text;
    alert.flags = flags;
    platform::Present(alert);
    return 1;
}
} // namespace win32
