// The contents of an alert's window: icon, title, text and buttons.

#ifndef PLATFORM_ALERT_SDL_SHEET_H
#define PLATFORM_ALERT_SDL_SHEET_H

#include <vector>

#include <platform/control.h>

#include "drawing.h"

namespace platform
{
class Sheet
{
public:
    // Lays the alert out in a room of pixels. A text that is higher than the room scrolls.
    Sheet(const Alert& alert, int roomWidth, int roomHeight);

    int Width() const { return mWidth; }
    int Height() const { return mHeight; }
    SDLOwner<SDL_Surface> Draw() const;

    // Scrolls by a number of lines, at most to the first or the last line.
    void Scroll(int lines);
    int LinesShown() const { return mLinesShown; }

    // Moves the focus to the next button, or with a step of -1 to the previous button.
    void MoveFocus(int step);
    AssertAnswer Focused() const { return mButtons[mFocus].mAnswer; }

    // Moves the focus to the button at a point. Returns false if there is no button.
    bool FocusAt(int x, int y);

private:
    struct Button
    {
        krobase::utility::UTF16String mLabel;
        AssertAnswer mAnswer;
        SDL_Rect mBounds;
    };

    int TextLeft() const;
    int TextTop() const;
    void WrapTexts(const Alert& alert, int roomWidth);
    void ChooseHeight(int roomHeight);
    void LayOutButtons();
    void DrawTexts(SDL_Surface* canvas) const;
    void DrawScrollBar(SDL_Surface* canvas) const;
    void DrawButtons(SDL_Surface* canvas) const;

    std::vector<Button> mButtons; // never empty; at the start the first has the focus
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
