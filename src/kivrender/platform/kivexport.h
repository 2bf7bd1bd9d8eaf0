// Marks what hosts and plug-ins may link against. Everything else stays hidden in the library.
#ifndef KIVRENDER_PLATFORM_KIVEXPORT_H
#define KIVRENDER_PLATFORM_KIVEXPORT_H

#if defined(_WIN32)
#if defined(KIVRENDER_BUILDING)
#define KIV_API __declspec(dllexport)
#else
#define KIV_API __declspec(dllimport)
#endif
#define KIV_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define KIV_API __attribute__((visibility("default")))
#define KIV_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#endif
