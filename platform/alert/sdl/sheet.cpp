#include "sheet.h"

#include <algorithm>

#include <platform/alert/layout.h>

namespace platform
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

// In pixels.
const int kMargin = 20;
const int kGap = 16;
const int kIconSize = 48;
const int kHeadingSize = 18;
const int kTextSize = 15;
const int kTextWidth = 440; // of a text without a hint
const int kLeastTextWidth = 200;
const int kButtonWidth = 88;
const int kButtonPadding = 8;
const int kScrollBarWidth = 6;

const std::size_t kMostHeadingLines = 3;

const SDL_Color kGround = {250, 250, 250, 255};
const SDL_Color kFooter = {234, 234, 234, 255};
const SDL_Color kInk = {30, 30, 30, 255};
const SDL_Color kLine = {170, 170, 170, 255};
const SDL_Color kButton = {253, 253, 253, 255};
const SDL_Color kFocus = {50, 110, 190, 255};

struct Choice
{
    const char* mLabel;
    AssertAnswer mAnswer;
};

const Choice kOK = {"OK", kAnswerGoOn};
const Choice kAssertChoices[] = {
    {"Go on", kAnswerGoOn},
    {"Break", kAnswerBreak},
    {"Always go on", kAnswerGoOnAlways},
};

UTF16String FromASCII(const std::string& text)
{
    return UTF16String(text.begin(), text.end());
}

// Returns all texts that the window may show.
UTF16String AllTexts(const Alert& alert)
{
    UTF16String texts = alert.title + alert.text + FromASCII(kOK.mLabel);
    for (const Choice& choice : kAssertChoices)
        texts += FromASCII(choice.mLabel);
    return texts;
}

int Count(const std::vector<UTF16String>& lines)
{
    return static_cast<int>(lines.size());
}

std::vector<UTF16String> Wrapped(const UTF16String& text, const Fonts& fonts, int width)
{
    return WrapText(text, [&](const UTF16String& line) { return fonts.Width(line) <= width; });
}

int Widest(const std::vector<UTF16String>& lines, const Fonts& fonts)
{
    int widest = 0;
    for (const UTF16String& line : lines)
        widest = std::max(widest, fonts.Width(line));
    return widest;
}

void Fill(SDL_Surface* canvas, const SDL_Rect& bounds, SDL_Color color)
{
    SDL_FillRect(canvas, &bounds, SDL_MapRGB(canvas->format, color.r, color.g, color.b));
}

SDL_Rect Inside(const SDL_Rect& bounds, int distance)
{
    return {bounds.x + distance, bounds.y + distance, bounds.w - 2 * distance,
            bounds.h - 2 * distance};
}
} // namespace

Sheet::Sheet(const Alert& alert, int roomWidth, int roomHeight)
    : mIcon(IconOf(alert)), mHeadingFonts(AllTexts(alert), kHeadingSize, true),
      mTextFonts(AllTexts(alert), kTextSize, false)
{
    if (!alert.answer)
        mButtons.push_back({FromASCII(kOK.mLabel), kOK.mAnswer, {}});
    else
    {
        for (const Choice& choice : kAssertChoices)
            mButtons.push_back({FromASCII(choice.mLabel), choice.mAnswer, {}});
    }
    LayOutButtons();
    WrapTexts(alert, roomWidth);
    ChooseHeight(roomHeight);
    for (Button& button : mButtons)
    {
        button.mBounds.x += mWidth;
        button.mBounds.y += mHeight;
    }
}

// Lays out the buttons relative to the lower right corner. The first button is on the left.
void Sheet::LayOutButtons()
{
    const int height = mTextFonts.LineHeight() + 2 * kButtonPadding;
    int right = -kMargin;
    for (auto button = mButtons.rbegin(); button != mButtons.rend(); ++button)
    {
        const int width =
            std::max(kButtonWidth, mTextFonts.Width(button->mLabel) + 4 * kButtonPadding);
        button->mBounds = {right - width, -kGap - height, width, height};
        right -= width + kButtonPadding;
    }
}

void Sheet::WrapTexts(const Alert& alert, int roomWidth)
{
    const int most = std::max(kLeastTextWidth, roomWidth - TextLeft() - kMargin);
    const bool hasHint = alert.sizeHint > 0.0f;
    const float wanted = hasHint ? alert.sizeHint : static_cast<float>(kTextWidth);
    const int width = static_cast<int>(
        std::clamp(wanted, static_cast<float>(kLeastTextWidth), static_cast<float>(most)));
    mHeading = Wrapped(alert.title, mHeadingFonts, width);
    if (mHeading.size() > kMostHeadingLines)
        mHeading.resize(kMostHeadingLines);
    mLines = Wrapped(alert.text, mTextFonts, width);
    const int texts =
        std::max({Widest(mHeading, mHeadingFonts), Widest(mLines, mTextFonts), kLeastTextWidth});
    const int buttons = kMargin - mButtons.front().mBounds.x;
    mWidth = std::max(TextLeft() + std::min(texts, width) + kMargin, buttons);
}

void Sheet::ChooseHeight(int roomHeight)
{
    const int footer = kGap - mButtons.front().mBounds.y;
    const int around = TextTop() + kMargin + footer;
    const int room = (roomHeight - around) / mTextFonts.LineHeight();
    mLinesShown = std::min(Count(mLines), std::max(1, room));
    const int beside = mIcon ? kMargin + kIconSize + kMargin + footer : 0;
    mHeight = std::max(around + mLinesShown * mTextFonts.LineHeight(), beside);
}

int Sheet::TextLeft() const
{
    return kMargin + (mIcon ? kIconSize + kGap : 0);
}

int Sheet::TextTop() const
{
    return kMargin +
           (mHeading.empty() ? 0 : Count(mHeading) * mHeadingFonts.LineHeight() + kGap / 2);
}

void Sheet::Scroll(int lines)
{
    mFirstLine = std::clamp(mFirstLine + lines, 0, Count(mLines) - mLinesShown);
}

void Sheet::MoveFocus(int step)
{
    const std::size_t count = mButtons.size();
    mFocus = (mFocus + (step < 0 ? count - 1 : 1)) % count;
}

bool Sheet::FocusAt(int x, int y)
{
    const SDL_Point point = {x, y};
    const auto found = std::find_if(mButtons.begin(), mButtons.end(), [&](const Button& button) {
        return SDL_PointInRect(&point, &button.mBounds);
    });
    if (found == mButtons.end())
        return false;
    mFocus = static_cast<std::size_t>(found - mButtons.begin());
    return true;
}

SDLOwner<SDL_Surface> Sheet::Draw() const
{
    SDLOwner<SDL_Surface> canvas = Owned(
        SDL_CreateRGBSurfaceWithFormat(0, mWidth, mHeight, 32, SDL_PIXELFORMAT_RGB888), "drawing");
    Fill(canvas.get(), {0, 0, mWidth, mHeight}, kGround);
    if (mIcon)
        DrawIcon(canvas.get(), kMargin, kMargin, kIconSize, mIcon);
    DrawTexts(canvas.get());
    DrawScrollBar(canvas.get());
    DrawButtons(canvas.get());
    return canvas;
}

void Sheet::DrawTexts(SDL_Surface* canvas) const
{
    for (int i = 0; i < Count(mHeading); ++i)
        mHeadingFonts.Draw(canvas, TextLeft(), kMargin + i * mHeadingFonts.LineHeight(),
                           mHeading[static_cast<std::size_t>(i)], kInk);
    for (int i = 0; i < mLinesShown; ++i)
        mTextFonts.Draw(canvas, TextLeft(), TextTop() + i * mTextFonts.LineHeight(),
                        mLines[static_cast<std::size_t>(mFirstLine) + static_cast<std::size_t>(i)],
                        kInk);
}

void Sheet::DrawScrollBar(SDL_Surface* canvas) const
{
    if (mLinesShown == Count(mLines))
        return;
    const int height = mLinesShown * mTextFonts.LineHeight();
    const int left = mWidth - (kMargin + kScrollBarWidth) / 2;
    const int thumb = std::max(kGap, height * mLinesShown / Count(mLines));
    const int top = (height - thumb) * mFirstLine / (Count(mLines) - mLinesShown);
    Fill(canvas, {left, TextTop(), kScrollBarWidth, height}, kFooter);
    Fill(canvas, {left, TextTop() + top, kScrollBarWidth, thumb}, kLine);
}

void Sheet::DrawButtons(SDL_Surface* canvas) const
{
    const int top = mButtons.front().mBounds.y - kGap;
    Fill(canvas, {0, top, mWidth, mHeight - top}, kFooter);
    for (std::size_t i = 0; i < mButtons.size(); ++i)
    {
        const Button& button = mButtons[i];
        const bool hasFocus = i == mFocus;
        Fill(canvas, button.mBounds, hasFocus ? kFocus : kLine);
        Fill(canvas, Inside(button.mBounds, hasFocus ? 2 : 1), kButton);
        const int left = (button.mBounds.w - mTextFonts.Width(button.mLabel)) / 2;
        mTextFonts.Draw(canvas, button.mBounds.x + left, button.mBounds.y + kButtonPadding,
                        button.mLabel, kInk);
    }
}
} // namespace platform
