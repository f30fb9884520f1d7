// The system's fonts, several of which may be needed for one text.

#ifndef PLATFORM_ALERT_SDL_FONTS_H
#define PLATFORM_ALERT_SDL_FONTS_H

#include <string>
#include <vector>

#include <krobase/text.h>

#include "sdl.h"

namespace platform
{
class Fonts
{
public:
    // The fonts that draw the text, pixels high, the system's choice for its
    // user interface first. Throws std::runtime_error if the system has none.
    Fonts(const krobase::utility::UTF16String& text, int pixels, bool bold);

    int LineHeight() const { return mAscent + mDescent; }
    int Width(const krobase::utility::UTF16String& line) const;

    // Draws a line whose upper left corner is at a place.
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
} // namespace platform

#endif
