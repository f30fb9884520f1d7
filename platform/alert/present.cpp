// The platform's message boxes, the choice of the presenter, and the presenter of the console.

#include <algorithm>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <krobase/debug.h>
#include <kroview/messagebox.h>
#include <platform/base/code_units.h>
#include <platform/base/printable.h>
#include <platform/base/switched_function.h>
#include <win32/message_box.h>
#include <win32/process.h>
#include <win32/text.h>

#include "layout.h"
#include "system.h"

namespace platform
{
namespace
{
typedef SwitchedFunction<void(const Alert&)> Presenter;
Presenter& sPresenter = *new Presenter;

typedef krobase::utility::UTF16String UTF16String;

const std::size_t kTextColumns = 72;

const char* IconWord(const Alert& alert)
{
    using namespace kroview::dialogs::messagebox;
    switch (IconOf(alert))
    {
    case kIconError:
        return "[error] ";
    case kIconWarning:
        return "[warning] ";
    case kIconQuestion:
        return "[question] ";
    case kIconNote:
        return "[note] ";
    case kIconNone:
        break;
    }
    return "";
}

// Returns the units of the character at the position: 2 for a surrogate pair.
std::size_t CharacterLength(const UTF16String& text, std::size_t position)
{
    const bool isPair = IsHighSurrogate(text[position]) && position + 1 < text.size() &&
                        IsLowSurrogate(text[position + 1]);
    return isPair ? 2 : 1;
}

std::size_t Columns(const UTF16String& line)
{
    std::size_t columns = 0;
    for (std::size_t position = 0; position < line.size();)
    {
        const std::size_t length = CharacterLength(line, position);
        unsigned int character = line[position];
        if (length == 2)
            character = 0x10000 + ((character & 0x3FF) << 10 | (line[position + 1] & 0x3FFu));
        columns += ColumnsOf(character);
        position += length;
    }
    return columns;
}

void AppendRule(std::string& box)
{
    box += '+' + std::string(kTextColumns + 2, '-') + "+\n";
}

void AppendSection(std::string& box, const UTF16String& text)
{
    const std::vector<UTF16String> lines =
        WrapText(text, [](const UTF16String& line) { return Columns(line) <= kTextColumns; });
    for (const UTF16String& line : lines)
    {
        const krobase::utility::UTF8String bytes = krobase::utility::UTF16to8(line);
        box += "| ";
        box.append(bytes.begin(), bytes.end());
        // A line may be too wide: a character with its marks that has no room is one line.
        box.append(kTextColumns - std::min(kTextColumns, Columns(line)), ' ');
        box += " |\n";
    }
    if (!lines.empty())
        AppendRule(box);
}

void WriteBox(const Alert& alert)
{
    std::string box;
    AppendRule(box);
    const std::string icon = IconWord(alert);
    const UTF16String heading = UTF16String(icon.begin(), icon.end()) + alert.title;
    AppendSection(box, heading);
    AppendSection(box, alert.text);
    WriteToStderr(box);
}

// Allocates nothing.
void WriteBare(const UTF16String& text)
{
    for (std::size_t position = 0; position < text.size();)
    {
        const std::size_t length = CharacterLength(text, position);
        char bytes[4];
        const int count = win32::WideCharToMultiByte(win32::kCodePageUTF8, 0, &text[position],
                                                     static_cast<int>(length), bytes, sizeof(bytes),
                                                     nullptr, nullptr);
        WritePrintable(stderr, {bytes, static_cast<std::size_t>(count)}, "\n\t");
        position += length;
    }
    WriteToStderr("\n");
}

// Calls the presenter with no lock held. Throws what the presenter throws.
void Present(const Alert& alert)
{
    if (const auto presenter = sPresenter.Get())
        (*presenter)(alert);
    else if (!PresentInSystemBox(alert))
        PresentOnConsole(alert);
}

krobase::utility::UTF16String FromUTF8(const std::string& text)
{
    const unsigned int codePage = win32::kCodePageUTF8;
    const int room = win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, nullptr, 0);
    krobase::utility::UTF16String units(static_cast<std::size_t>(room), 0);
    win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, units.data(), room);
    return units.substr(0, units.size() - 1); // without the terminator
}

// Returns the lead and the text, or the empty text without a text.
std::string Part(const char* lead, const char* text)
{
    return text && *text ? std::string(lead) + text : std::string();
}
} // namespace

void PresentOnConsole(const Alert& alert)
{
    try
    {
        WriteBox(alert);
    }
    catch (const std::bad_alloc&)
    {
        WriteToStderr(IconWord(alert));
        WriteBare(alert.title);
        WriteBare(alert.text);
    }
    if (alert.answer && win32::IsDebuggerPresent())
        *alert.answer = kAnswerBreak;
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
    // The host may release its window while the alert is shown.
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
