// Marks what hosts and plug-ins may link against. Everything else stays hidden in the library.
//
// Classes and functions that a header of the installed interface declares carry KIV_API. A plug-in marks its two entry
// functions with KIV_PLUGIN_EXPORT, which also gives them plain names, and hides all else (-fvisibility=hidden), so
// that two plug-ins can't meet in a name:
//
//     KIV_PLUGIN_EXPORT int kivInterface() { return kivInterfaceVersion; }
//
// On Windows the library itself is built with KIVRENDER_BUILDING defined, which no host or plug-in defines.
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
// Elsewhere one mark serves both who builds and who links.
#define KIV_API __attribute__((visibility("default")))
#define KIV_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#endif
