// The macro on declarations that leave the platform library.

#ifndef PLATFORM_BASE_EXPORT_H
#define PLATFORM_BASE_EXPORT_H

#if defined(_WIN32)
#if defined(UPLATFORM_BUILDING)
#define PLATFORM_EXPORT __declspec(dllexport)
#else
#define PLATFORM_EXPORT __declspec(dllimport)
#endif
#else
#define PLATFORM_EXPORT __attribute__((visibility("default")))
#endif

#endif
