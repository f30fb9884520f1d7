#include "presenter.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include <platform/alert/layout.h>
#include <platform/base/printable.h>
#include <tolv/keyboard.h>
#include <win32/message_box.h>

#include "sheet.h"

namespace platform
{
namespace
{
typedef std::optional<AssertAnswer> Dismissal;

const Uint32 kPollInterval = 10; // milliseconds
const int kWheelLines = 3;
const int kAllLines = std::numeric_limits<int>::max() / 2;

// The events of other windows. The destructor puts them back into SDL's queue, except for
// input.
class ScOtherEvents
{
public:
    ScOtherEvents() = default;
    ~ScOtherEvents()
    {
        SDL_PeepEvents(mEvents.data(), static_cast<int>(mEvents.size()), SDL_ADDEVENT, 0, 0);
    }
    ScOtherEvents(const ScOtherEvents&) = delete;
    ScOtherEvents& operator=(const ScOtherEvents&) = delete;

    void Keep(const SDL_Event& event)
    {
        const bool isInput = event.type >= SDL_KEYDOWN && event.type < SDL_JOYAXISMOTION;
        if (!isInput)
            mEvents.push_back(event);
    }

private:
    std::vector<SDL_Event> mEvents;
};

// Returns the window that the event is for, or 0.
Uint32 WindowOf(const SDL_Event& event)
{
    switch (event.type)
    {
    case SDL_WINDOWEVENT:
        return event.window.windowID;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        return event.key.windowID;
    case SDL_MOUSEMOTION:
        return event.motion.windowID;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        return event.button.windowID;
    case SDL_MOUSEWHEEL:
        return event.wheel.windowID;
    default:
        return 0;
    }
}

unsigned int ModifierMask(int keys)
{
    struct Row
    {
        int mKeys;
        unsigned int mModifier;
    };
    const Row kRows[] = {
        {KMOD_GUI, kModifierCommand}, {KMOD_SHIFT, kModifierShift},  {KMOD_CAPS, kModifierCapsLock},
        {KMOD_ALT, kModifierOption},  {KMOD_CTRL, kModifierControl},
    };
    unsigned int mask = 0;
    for (const Row& row : kRows)
    {
        if (keys & row.mKeys)
            mask |= row.mModifier;
    }
    return mask;
}

std::string Title(const Alert& alert)
{
    const krobase::utility::UTF8String bytes = krobase::utility::UTF16to8(alert.title);
    return std::string(bytes.begin(), bytes.end());
}

// Returns the part of the screen that the sheet may take: the rest is for the window's frame.
SDL_Point Room()
{
    SDL_Rect screen = {};
    if (SDL_GetDisplayUsableBounds(0, &screen) != 0)
        ThrowSDLError("no screen");
    return {screen.w / 10 * 9, screen.h / 10 * 9};
}

// SDL's video and fonts. The host may use them, too.
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
    // In a host that does not use SDL, an alert must not change the signals, the compositor or
    // the screen saver, and must not end the host when its window closes. A still picture needs
    // no 3D driver.
    static void SetHints()
    {
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
        SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
        SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    }

    // With a driver without a screen, the alert would wait for ever: no user sees it.
    static bool HasScreen()
    {
        const char* const driver = SDL_GetCurrentVideoDriver();
        return driver && std::strcmp(driver, "dummy") != 0 &&
               std::strcmp(driver, "offscreen") != 0 && std::strcmp(driver, "evdev") != 0;
    }
};

class AlertWindow
{
public:
    explicit AlertWindow(const Alert& alert) : mSheet(alert, Room().x, Room().y)
    {
        const Uint32 flags = alert.flags & win32::kBoxTopmost ? SDL_WINDOW_ALWAYS_ON_TOP : 0;
        mWindow =
            Owned(SDL_CreateWindow(Title(alert).c_str(), SDL_WINDOWPOS_CENTERED,
                                   SDL_WINDOWPOS_CENTERED, mSheet.Width(), mSheet.Height(), flags),
                  "no window");
    }

    AssertAnswer Run()
    {
        SDL_RaiseWindow(mWindow.get());
        SDL_SetWindowInputFocus(mWindow.get());
        Show();
        ScOtherEvents others;
        for (;;)
        {
            SDL_Event event;
            while (SDL_PollEvent(&event))
            {
                if (const Dismissal dismissal = Handle(event, others))
                    return *dismissal;
            }
            // SDL_WaitEvent is no alternative: SDL wakes it by a message to the window over
            // another connection. If the message arrives after the window has been destroyed,
            // the process ends.
            SDL_Delay(kPollInterval);
        }
    }

    // Returns the modifier keys that were down when the alert was dismissed.
    unsigned int ModifierKeys() const { return ModifierMask(mModifiers); }

private:
    void Show()
    {
        SDL_Surface* const surface = SDL_GetWindowSurface(mWindow.get());
        if (!surface)
            ThrowSDLError("no picture");
        const SDLOwner<SDL_Surface> drawn = mSheet.Draw();
        SDL_BlitSurface(drawn.get(), nullptr, surface, nullptr);
        SDL_UpdateWindowSurface(mWindow.get());
    }

    Dismissal Handle(const SDL_Event& event, ScOtherEvents& others)
    {
        if (WindowOf(event) == SDL_GetWindowID(mWindow.get()))
            return HandleOwn(event);
        others.Keep(event);
        // A request to end the program dismisses the alert.
        return event.type == SDL_QUIT ? Dismissal(kAnswerGoOn) : std::nullopt;
    }

    Dismissal HandleOwn(const SDL_Event& event)
    {
        switch (event.type)
        {
        case SDL_WINDOWEVENT:
            return HandleWindow(event.window);
        case SDL_KEYDOWN:
        case SDL_KEYUP:
            mModifiers = event.key.keysym.mod;
            return event.type == SDL_KEYDOWN ? HandleKey(event.key.keysym) : std::nullopt;
        case SDL_MOUSEBUTTONDOWN:
            mIsPressed = event.button.button == SDL_BUTTON_LEFT &&
                         mSheet.FocusAt(event.button.x, event.button.y);
            Show();
            return std::nullopt;
        case SDL_MOUSEBUTTONUP:
            return HandleRelease(event.button);
        case SDL_MOUSEWHEEL:
            ScrollBy(-kWheelLines * event.wheel.y);
            return std::nullopt;
        default:
            return std::nullopt;
        }
    }

    Dismissal HandleWindow(const SDL_WindowEvent& event)
    {
        if (event.event == SDL_WINDOWEVENT_CLOSE)
            return kAnswerGoOn;
        if (event.event == SDL_WINDOWEVENT_EXPOSED || event.event == SDL_WINDOWEVENT_SIZE_CHANGED)
            Show();
        return std::nullopt;
    }

    // A click counts if the mouse button is pressed and released on the same button.
    Dismissal HandleRelease(const SDL_MouseButtonEvent& event)
    {
        if (event.button != SDL_BUTTON_LEFT || !mIsPressed)
            return std::nullopt;
        mIsPressed = false;
        const AssertAnswer pressed = mSheet.Focused();
        if (mSheet.FocusAt(event.x, event.y) && mSheet.Focused() == pressed)
            return pressed;
        Show();
        return std::nullopt;
    }

    Dismissal HandleKey(const SDL_Keysym& key)
    {
        switch (key.sym)
        {
        case SDLK_RETURN:
        case SDLK_KP_ENTER:
        case SDLK_SPACE:
            return mSheet.Focused();
        case SDLK_ESCAPE:
            return kAnswerGoOn;
        case SDLK_TAB:
            MoveFocusBy(key.mod & KMOD_SHIFT ? -1 : 1);
            break;
        case SDLK_LEFT:
        case SDLK_RIGHT:
            MoveFocusBy(key.sym == SDLK_LEFT ? -1 : 1);
            break;
        case SDLK_UP:
        case SDLK_DOWN:
            ScrollBy(key.sym == SDLK_UP ? -1 : 1);
            break;
        case SDLK_PAGEUP:
        case SDLK_PAGEDOWN:
            ScrollBy(mSheet.LinesShown() * (key.sym == SDLK_PAGEUP ? -1 : 1));
            break;
        case SDLK_HOME:
        case SDLK_END:
            ScrollBy(key.sym == SDLK_HOME ? -kAllLines : kAllLines);
            break;
        default:
            break;
        }
        return std::nullopt;
    }

    void MoveFocusBy(int step)
    {
        mSheet.MoveFocus(step);
        Show();
    }

    void ScrollBy(int lines)
    {
        mSheet.Scroll(lines);
        Show();
    }

    Sheet mSheet;
    SDLOwner<SDL_Window> mWindow;
    // The modifier keys at the event that is handled. SDL_GetModState returns the keys at the last
    // event in the queue.
    int mModifiers = SDL_GetModState();
    bool mIsPressed = false; // the mouse button, on a button of the sheet
};

// Throws std::runtime_error without a window.
AssertAnswer ShowWindow(const Alert& alert)
{
    AlertWindow window(alert);
    const AssertAnswer answer = window.Run();
    SetModifierKeys(window.ModifierKeys());
    return answer;
}
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
        WriteToStderr("The alert has no window: ");
        WritePrintable(stderr, failure.what());
        WriteToStderr(".\n");
        PresentOnConsole(alert);
    }
}
} // namespace platform
