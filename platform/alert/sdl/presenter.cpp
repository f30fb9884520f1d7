#include "presenter.h"

#include <cstdio>
#include <cstring>

#include <platform/alert/present.h>
#include <platform/base/printable.h>

#include "sdl.h"
#include "window.h"

namespace platform
{
namespace
{
// SDL's video and fonts, beside a host that may use them too.
class ScVideo
{
public:
    ScVideo()
    {
        if (!SDL_WasInit(SDL_INIT_VIDEO))
            SetHints();
        if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0)
            ThrowSDLError("no display");
        if (!HasScreen() || TTF_Init() != 0)
        {
            const std::string reason = HasScreen() ? SDL_GetError() : "no display";
            SDL_QuitSubSystem(SDL_INIT_VIDEO);
            throw std::runtime_error(reason);
        }
    }
    ~ScVideo()
    {
        TTF_Quit();
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }
    ScVideo(const ScVideo&) = delete;
    ScVideo& operator=(const ScVideo&) = delete;

private:
    // A host that doesn't use SDL keeps its signals, its compositor, its screen
    // saver and its life when the alert's window closes. A still picture needs no
    // 3D driver.
    static void SetHints()
    {
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
        SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
        SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    }

    // Drivers without a screen would have the alert wait for a user who can't
    // see it.
    static bool HasScreen()
    {
        const char* const driver = SDL_GetCurrentVideoDriver();
        return driver && std::strcmp(driver, "dummy") != 0 &&
               std::strcmp(driver, "offscreen") != 0 && std::strcmp(driver, "evdev") != 0;
    }
};
} // namespace

void PresentInWindow(const Alert& alert)
{
    try
    {
        const ScVideo video;
        const AssertAnswer answer = ShowWindow(alert);
        if (alert.answer)
            *alert.answer = answer;
    }
    catch (const std::runtime_error& failure)
    {
        std::fputs("The alert has no window: ", stderr);
        WritePrintable(stderr, failure.what());
        std::fputs(".\n", stderr);
        PresentOnConsole(alert);
    }
}
} // namespace platform
