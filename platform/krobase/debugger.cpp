#include "debugger.h"

#include <string>

#include <win32/debug.h>
#include <win32/messages.h>
#include <win32/text.h>

#include "../present.h"
#include "text.h"

namespace krobase
{
namespace debug
{
namespace
{
utility::UTF16String FromUTF8(const std::string& text)
{
    const unsigned int codePage = win32::kCodePageUTF8;
    const int room = win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, nullptr, 0);
    utility::UTF16String units(static_cast<std::size_t>(room), 0);
    win32::MultiByteToWideChar(codePage, 0, text.c_str(), -1, units.data(), room);
    return units.substr(0, units.size() - 1); // without the terminator
}

// The text with a lead before it, nothing if there is no text.
std::string Part(const char* lead, const char* text)
{
    return text && *text ? std::string(lead) + text : std::string();
}
} // namespace

bool BreakAfterAssertDialog(bool& ignoreAlways, const char* expression, const char* message,
                            const char* file, int line, const char* function)
{
    const std::string text = Part("", expression) + Part("\n", message) + "\n\nline " +
                             std::to_string(line) + Part(" of ", file) + Part("\nin ", function);
    platform::AssertAnswer answer = platform::kAnswerGoOn;
    platform::Alert alert = {};
    alert.hasTitle = true;
    alert.title = FromUTF8("Assertion failed");
    alert.text = FromUTF8(text);
    alert.flags = win32::kBoxIconError | win32::kBoxTaskModal | win32::kBoxTopmost;
    alert.answer = &answer;
    platform::Present(alert);
    if (answer == platform::kAnswerGoOnAlways)
        ignoreAlways = true;
    return answer == platform::kAnswerBreak;
}

bool IsDebuggerAttached()
{
    return win32::IsDebuggerPresent() != 0;
}

void BreakIntoDebugger()
{
    win32::DebugBreak();
}
} // namespace debug
} // namespace krobase
