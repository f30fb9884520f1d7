#include "drawing.h"

#include <algorithm>
#include <cmath>

namespace platform
{
namespace
{
using kroview::dialogs::messagebox::Icon;

// A point in the icon: coordinates from -1 to 1, to the right and downwards.
struct Point
{
    float x;
    float y;
};

// The functions of shapes return the distance of a point from the edge of the shape, negative
// inside.
float Disc(Point p, Point centre, float radius)
{
    return std::hypot(p.x - centre.x, p.y - centre.y) - radius;
}

// A line with round ends.
float Stroke(Point p, Point from, Point to, float halfWidth)
{
    const float x = to.x - from.x;
    const float y = to.y - from.y;
    const float along = ((p.x - from.x) * x + (p.y - from.y) * y) / (x * x + y * y);
    const float held = std::clamp(along, 0.0f, 1.0f);
    return Disc(p, {from.x + held * x, from.y + held * y}, halfWidth);
}

float Triangle(Point p)
{
    const float side = (std::abs(p.x) * 0.88f - (p.y + 0.8f) * 0.47f);
    return std::max(side, p.y - 0.75f);
}

float Cross(Point p)
{
    return std::min(Stroke(p, {-0.35f, -0.35f}, {0.35f, 0.35f}, 0.12f),
                    Stroke(p, {-0.35f, 0.35f}, {0.35f, -0.35f}, 0.12f));
}

float ExclamationMark(Point p)
{
    return std::min(Stroke(p, {0.0f, -0.25f}, {0.0f, 0.2f}, 0.1f), Disc(p, {0.0f, 0.52f}, 0.12f));
}

float LetterI(Point p)
{
    return std::min(Stroke(p, {0.0f, -0.05f}, {0.0f, 0.5f}, 0.11f), Disc(p, {0.0f, -0.45f}, 0.13f));
}

float QuestionMark(Point p)
{
    const float ring = std::abs(Disc(p, {0.0f, -0.25f}, 0.28f)) - 0.1f;
    const bool isOpen = p.x < 0.0f && p.y > -0.25f; // the lower left quarter
    const float bow = isOpen ? Disc(p, {-0.28f, -0.25f}, 0.1f) : ring;
    const float stem = Stroke(p, {0.0f, 0.03f}, {0.0f, 0.2f}, 0.1f);
    return std::min({bow, stem, Disc(p, {0.0f, 0.52f}, 0.12f)});
}

struct Drawing
{
    SDL_Color mGround;
    SDL_Color mSign;
    float (*mShape)(Point);
    float (*mMark)(Point);
};

float Round(Point p)
{
    return Disc(p, {0.0f, 0.0f}, 0.95f);
}

Drawing DrawingOf(Icon icon)
{
    using namespace kroview::dialogs::messagebox;
    const SDL_Color white = {255, 255, 255, 255};
    switch (icon)
    {
    case kIconError:
        return {{200, 40, 40, 255}, white, &Round, &Cross};
    case kIconWarning:
        return {{245, 185, 30, 255}, {40, 40, 40, 255}, &Triangle, &ExclamationMark};
    case kIconQuestion:
        return {{50, 110, 190, 255}, white, &Round, &QuestionMark};
    default:
        return {{50, 110, 190, 255}, white, &Round, &LetterI};
    }
}

// Blends a colour into a pixel by the share of the pixel that the shape covers.
void Cover(SDL_Surface* target, Uint32* pixel, SDL_Color color, float distance, float pixelSize)
{
    const float share = std::clamp(0.5f - distance / pixelSize, 0.0f, 1.0f);
    Uint8 red = 0;
    Uint8 green = 0;
    Uint8 blue = 0;
    SDL_GetRGB(*pixel, target->format, &red, &green, &blue);
    const auto mix = [share](Uint8 under, Uint8 over) {
        return static_cast<Uint8>(std::lround(static_cast<float>(under) * (1.0f - share) +
                                              static_cast<float>(over) * share));
    };
    *pixel = SDL_MapRGB(target->format, mix(red, color.r), mix(green, color.g), mix(blue, color.b));
}
} // namespace

void DrawIcon(SDL_Surface* target, int left, int top, int size, Icon icon)
{
    const Drawing drawing = DrawingOf(icon);
    const float pixelSize = 2.0f / static_cast<float>(size);
    for (int y = 0; y < size; ++y)
    {
        Uint8* const row = static_cast<Uint8*>(target->pixels) +
                           static_cast<std::ptrdiff_t>(top + y) * target->pitch;
        Uint32* const pixels = reinterpret_cast<Uint32*>(row) + left;
        for (int x = 0; x < size; ++x)
        {
            const Point p = {(static_cast<float>(x) + 0.5f) * pixelSize - 1.0f,
                             (static_cast<float>(y) + 0.5f) * pixelSize - 1.0f};
            Cover(target, pixels + x, drawing.mGround, drawing.mShape(p), pixelSize);
            Cover(target, pixels + x, drawing.mSign, drawing.mMark(p), pixelSize);
        }
    }
}
} // namespace platform
