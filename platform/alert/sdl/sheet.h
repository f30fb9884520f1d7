// What the window of an alert shows: icon, title, text and buttons.

#ifndef PLATFORM_ALERT_SDL_SHEET_H
#define PLATFORM_ALERT_SDL_SHEET_H

#include <string>
#include <vector>

#include <kroview/messagebox.h>
#include <platform/control.h>

#include "fonts.h"
#include "sdl.h"

namespace platform
{
class Sheet
{
public:
    // Lays the alert out in a room of pixels. What of the text has no room is
    // scrolled to.
    Sheet(const Alert& alert, int roomWidth, int roomHeight);

    int Width() const { return mWidth; }
    int Height() const { return mHeight; }
    SDLOwner<SDL_Surface> Draw() const;

    // Goes through the text by lines, as far as there are any.
    void Scroll(int lines);
    int LinesShown() const { return mLinesShown; }

    // The next button has the focus, or with a step of -1 the one before.
    void MoveFocus(int step);
    AssertAnswer Focused() const { return mButtons[mFocus].mAnswer; }

    // Gives the focus to the button at a place. False if there is none.
    bool FocusAt(int x, int y);

private:
    struct Button
    {
        krobase::utility::UTF16String mLabel;
        AssertAnswer mAnswer;
        SDL_Rect mPlace;
    };

    int TextLeft() const;
    int TextTop() const;
    void WrapTexts(const Alert& alert, int roomWidth);
    void ChooseHeight(int roomHeight);
    void PlaceButtons();
    void DrawTexts(SDL_Surface* canvas) const;
    void DrawScrollBar(SDL_Surface* canvas) const;
    void DrawButtons(SDL_Surface* canvas) const;

    std::vector<Button> mButtons; // the first has the focus at the start
    std::size_t mFocus = 0;
    const kroview::dialogs::messagebox::Icon mIcon;
    const Fonts mHeadingFonts;
    const Fonts mTextFonts;
    std::vector<krobase::utility::UTF16String> mHeading;
    std::vector<krobase::utility::UTF16String> mLines;
    int mFirstLine = 0;
    int mLinesShown = 0;
    int mWidth = 0;
    int mHeight = 0;
};
} // namespace platform

#endif
