// SDL's objects with owners, and its failures as exceptions.

#ifndef PLATFORM_ALERT_SDL_SDL_H
#define PLATFORM_ALERT_SDL_SDL_H

#include <memory>
#include <stdexcept>
#include <string>

#include <SDL.h>
#include <SDL_ttf.h>

namespace platform
{
struct SDLDelete
{
    void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
    void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
    void operator()(TTF_Font* font) const { TTF_CloseFont(font); }
};

template <class Object> using SDLOwner = std::unique_ptr<Object, SDLDelete>;

// Throws what SDL says of the failure.
[[noreturn]] inline void ThrowSDLError(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + SDL_GetError());
}

// Owns what is given, which must not be null.
template <class Object> SDLOwner<Object> Owned(Object* object, const char* what)
{
    if (!object)
        ThrowSDLError(what);
    return SDLOwner<Object>(object);
}
} // namespace platform

#endif
