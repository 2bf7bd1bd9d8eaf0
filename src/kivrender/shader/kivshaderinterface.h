// The version of the interface between library and shader plug-ins: classes, their virtual operations and fields, the
// form of the tables. A plug-in says for which one it was built by one line at the end of one of its sources:
//
//     KIV_SHADER_INTERFACE;
//
// The number is data, so the library reads it before any code of the plug-in is called, and leaves out a plug-in of
// another version. A plug-in without the number counts as one of version 1.
#ifndef KIVRENDER_SHADER_KIVSHADERINTERFACE_H
#define KIVRENDER_SHADER_KIVSHADERINTERFACE_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>

// What these headers describe. It grows when a plug-in that was built before could no longer be called.
inline constexpr std::uint32_t kivShaderInterface = 1;
// The oldest version that this library still understands.
inline constexpr std::uint32_t kivOldestShaderInterface = 1;
// That of plug-ins without a number.
inline constexpr std::uint32_t kivUnnumberedShaderInterface = 1;

// The declaration in front is what lets a constant be exported and keeps compilers from warning of it.
#define KIV_SHADER_INTERFACE                                                                                           \
    KIV_PLUGIN_EXPORT const std::uint32_t KivShaderInterfaceVersion;                                                   \
    const std::uint32_t KivShaderInterfaceVersion = kivShaderInterface

#endif
