// Shows one alert in a window. Prints a line for each time that the window is drawn, and at last
// the answer and the modifier keys of the dismissal, as numbers.
//
// Usage: show_alert host|plain|assertion ICON TITLE TEXT
//
// ICON is a number of Messagebox for host, and of MessageBoxW for plain.

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>

#include <krobase/debug.h>
#include <kroview/messagebox.h>
#include <platform/alert/sdl/presenter.h>
#include <platform/control.h>
#include <tolv/keyboard.h>
#include <win32/message_box.h>
#include <win32/text.h>

namespace
{
namespace messagebox = kroview::dialogs::messagebox;
typedef krobase::utility::UTF16String UTF16String;

const float kWideHint = 600.0f;

class Supplier : public kroview::pencart::SupplierInterface
{
};

UTF16String FromUTF8(const char* text)
{
    UTF16String units(std::char_traits<char>::length(text), 0);
    const int length = static_cast<int>(units.size());
    units.resize(static_cast<std::size_t>(
        win32::MultiByteToWideChar(win32::kCodePageUTF8, 0, text, length, units.data(), length)));
    return units;
}

int ShowAssertion(const char* text)
{
    bool ignoreAlways = false;
    const bool shouldBreak =
        krobase::debug::BreakAfterAssertDialog(ignoreAlways, text, "", "main.cpp", 7, "main");
    return ignoreAlways ? 2 : shouldBreak ? 1 : 0;
}
} // namespace

// Replaces the function of SDL for the window of alerts. The original function returns after the
// display has the picture.
struct SDL_Window;
extern "C" __attribute__((visibility("default"))) int SDL_UpdateWindowSurface(SDL_Window* window)
{
    typedef int (*Update)(SDL_Window*);
    const auto update = reinterpret_cast<Update>(dlsym(RTLD_NEXT, "SDL_UpdateWindowSurface"));
    const int result = update(window);
    std::puts("drawn");
    std::fflush(stdout);
    return result;
}

int main(int count, char** arguments)
{
    if (count != 5)
        return 2;
    platform::SetAlertPresenter(&platform::PresentInWindow);
    const std::string kind = arguments[1];
    const int icon = std::atoi(arguments[2]);
    const UTF16String title = FromUTF8(arguments[3]);
    const UTF16String text = FromUTF8(arguments[4]);
    int answer = 0;
    if (kind == "host")
    {
        Supplier supplier;
        messagebox::Messagebox(&supplier, title, text, messagebox::kKindAlert,
                               messagebox::kButtonOK, icon, new kroview::ui::UI_Node,
                               messagebox::MessageHandler(), kWideHint, 0.0f);
    }
    else if (kind == "plain")
        win32::MessageBoxW(nullptr, text.c_str(), title.c_str(), static_cast<unsigned int>(icon));
    else
        answer = ShowAssertion(arguments[4]);
    std::printf("%d %u\n", answer, GetCurrentKeyModifiers());
}
