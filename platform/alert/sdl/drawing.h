// Drawing for the window of an alert: owners of SDL's objects, the system's fonts, the icons.

#ifndef PLATFORM_ALERT_SDL_DRAWING_H
#define PLATFORM_ALERT_SDL_DRAWING_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <SDL.h>
#include <SDL_ttf.h>

#include <kroview/messagebox.h>

namespace platform
{
struct SDLDelete
{
    void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
    void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
    void operator()(TTF_Font* font) const { TTF_CloseFont(font); }
};

template <class Object> using SDLOwner = std::unique_ptr<Object, SDLDelete>;

// Throws std::runtime_error with the text of SDL's last error.
[[noreturn]] inline void ThrowSDLError(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + SDL_GetError());
}

// Returns an owner of the object. Throws as ThrowSDLError if the object is null.
template <class Object> SDLOwner<Object> Owned(Object* object, const char* what)
{
    if (!object)
        ThrowSDLError(what);
    return SDLOwner<Object>(object);
}

// The fonts that one text needs.
class Fonts
{
public:
    // Opens the system's font for its user interface, and further fonts for those characters
    // of the text that the font does not have. Throws std::runtime_error without a font.
    Fonts(const krobase::utility::UTF16String& text, int pixels, bool bold);

    int LineHeight() const { return mAscent + mDescent; }
    int Width(const krobase::utility::UTF16String& line) const;

    void Draw(SDL_Surface* target, int left, int top, const krobase::utility::UTF16String& line,
              SDL_Color color) const;

private:
    // Consecutive characters of one font.
    struct Run
    {
        TTF_Font* mFont;
        krobase::utility::UTF16String mText;
    };

    std::vector<Run> RunsOf(const krobase::utility::UTF16String& line) const;
    TTF_Font* FontOf(unsigned int character, TTF_Font* before) const;

    std::vector<SDLOwner<TTF_Font>> mFonts; // never empty
    int mAscent = 0;
    int mDescent = 0;
};

// Draws the icon, `size` pixels wide and high. REQUIRES: a surface of 32-bit pixels.
void DrawIcon(SDL_Surface* target, int left, int top, int size,
              kroview::dialogs::messagebox::Icon icon);
} // namespace platform

#endif
