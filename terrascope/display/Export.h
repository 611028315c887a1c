#pragma once

/// TERRASCOPE_API marks the two classes that Terrascope.dll exports. TERRASCOPE_BUILD is defined
/// while the library's own sources are compiled.
#ifdef TERRASCOPE_BUILD
#define TERRASCOPE_API __declspec(dllexport)
#else
#define TERRASCOPE_API __declspec(dllimport)
#endif
