#include "drawing.h"

#include <algorithm>
#include <new>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <fontconfig/fontconfig.h>

namespace platform
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

struct FcDelete
{
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
    void operator()(FcFontSet* fonts) const { FcFontSetDestroy(fonts); }
    void operator()(FcCharSet* characters) const { FcCharSetDestroy(characters); }
};

template <class Object> using FcOwner = std::unique_ptr<Object, FcDelete>;

template <class Object> FcOwner<Object> Owner(Object* object)
{
    if (!object)
        throw std::bad_alloc();
    return FcOwner<Object>(object);
}

FcOwner<FcCharSet> CharactersOf(const UTF16String& text)
{
    FcOwner<FcCharSet> characters = Owner(FcCharSetCreate());
    for (std::size_t position = 0; position < text.size();)
    {
        UChar32 character = 0;
        U16_NEXT(text.data(), position, text.size(), character);
        FcCharSetAddChar(characters.get(), static_cast<FcChar32>(character));
    }
    return characters;
}

// Returns all outline fonts, in the order of preference.
FcOwner<FcFontSet> SortedFonts(bool bold)
{
    const FcOwner<FcPattern> pattern =
        Owner(FcNameParse(reinterpret_cast<const FcChar8*>("sans-serif")));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcPatternAddBool(pattern.get(), FC_COLOR, FcFalse);
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultMatch;
    return Owner(FcFontSort(nullptr, pattern.get(), FcTrue, nullptr, &result));
}

// Returns null if the font's file cannot be read. Emboldens a font without a bold face.
SDLOwner<TTF_Font> Open(FcPattern* font, int pixels, bool bold)
{
    FcChar8* path = nullptr;
    int index = 0;
    if (FcPatternGetString(font, FC_FILE, 0, &path) != FcResultMatch)
        return nullptr;
    FcPatternGetInteger(font, FC_INDEX, 0, &index);
    // The upper 16 bits are an instance of a variable font.
    SDLOwner<TTF_Font> opened(
        TTF_OpenFontIndex(reinterpret_cast<const char*>(path), pixels, index & 0xFFFF));
    int weight = FC_WEIGHT_BOLD;
    FcPatternGetInteger(font, FC_WEIGHT, 0, &weight);
    if (opened && bold && weight < FC_WEIGHT_DEMIBOLD)
        TTF_SetFontStyle(opened.get(), TTF_STYLE_BOLD);
    return opened;
}

// Removes the characters that the font has from those wanted. Returns false if it has none.
bool TakeCharacters(FcPattern* font, FcOwner<FcCharSet>& wanted)
{
    FcCharSet* has = nullptr;
    if (FcPatternGetCharSet(font, FC_CHARSET, 0, &has) != FcResultMatch ||
        FcCharSetIntersectCount(wanted.get(), has) == 0)
        return false;
    wanted = Owner(FcCharSetSubtract(wanted.get(), has));
    return true;
}

// Returns whether the character is drawn in the font of the character before it.
bool IsAttached(unsigned int character)
{
    const unsigned int mask = U_GET_GC_MASK(static_cast<UChar32>(character));
    return mask & (U_GC_M_MASK | U_GC_CF_MASK | U_GC_Z_MASK);
}

std::string ToUTF8(const UTF16String& text)
{
    const krobase::utility::UTF8String bytes = krobase::utility::UTF16to8(text);
    return std::string(bytes.begin(), bytes.end());
}

int WidthOf(TTF_Font* font, const std::string& text)
{
    int width = 0;
    TTF_SizeUTF8(font, text.c_str(), &width, nullptr);
    return width;
}
} // namespace

Fonts::Fonts(const UTF16String& text, int pixels, bool bold)
{
    FcOwner<FcCharSet> wanted = CharactersOf(text);
    const FcOwner<FcFontSet> sorted = SortedFonts(bold);
    for (int i = 0; i < sorted->nfont && (mFonts.empty() || FcCharSetCount(wanted.get())); ++i)
    {
        FcOwner<FcCharSet> left = Owner(FcCharSetCopy(wanted.get()));
        if (!TakeCharacters(sorted->fonts[i], left) && !mFonts.empty())
            continue;
        SDLOwner<TTF_Font> font = Open(sorted->fonts[i], pixels, bold);
        if (!font)
            continue;
        mAscent = std::max(mAscent, TTF_FontAscent(font.get()));
        mDescent = std::max(mDescent, -TTF_FontDescent(font.get()));
        mFonts.push_back(std::move(font));
        wanted = std::move(left);
    }
    if (mFonts.empty())
        throw std::runtime_error("no font is installed");
}

int Fonts::Width(const UTF16String& line) const
{
    int width = 0;
    for (const Run& run : RunsOf(line))
        width += WidthOf(run.mFont, ToUTF8(run.mText));
    return width;
}

void Fonts::Draw(SDL_Surface* target, int left, int top, const UTF16String& line,
                 SDL_Color color) const
{
    for (const Run& run : RunsOf(line))
    {
        const std::string text = ToUTF8(run.mText);
        const int width = WidthOf(run.mFont, text);
        if (!width) // SDL cannot draw an empty surface
            continue;
        const SDLOwner<SDL_Surface> drawn =
            Owned(TTF_RenderUTF8_Blended(run.mFont, text.c_str(), color), "drawing text");
        SDL_Rect bounds = {left, top + mAscent - TTF_FontAscent(run.mFont), 0, 0};
        SDL_BlitSurface(drawn.get(), nullptr, target, &bounds);
        left += width;
    }
}

std::vector<Fonts::Run> Fonts::RunsOf(const UTF16String& line) const
{
    std::vector<Run> runs;
    for (std::size_t position = 0; position < line.size();)
    {
        const std::size_t start = position;
        UChar32 character = 0;
        U16_NEXT(line.data(), position, line.size(), character);
        TTF_Font* const before = runs.empty() ? nullptr : runs.back().mFont;
        TTF_Font* const font = FontOf(static_cast<unsigned int>(character), before);
        if (font != before)
            runs.push_back({font, {}});
        runs.back().mText.append(line, start, position - start);
    }
    return runs;
}

TTF_Font* Fonts::FontOf(unsigned int character, TTF_Font* before) const
{
    if (before && IsAttached(character))
        return before;
    const auto found = std::find_if(mFonts.begin(), mFonts.end(), [&](const auto& font) {
        return TTF_GlyphIsProvided32(font.get(), character) != 0;
    });
    return (found != mFonts.end() ? *found : mFonts.front()).get();
}
} // namespace platform
