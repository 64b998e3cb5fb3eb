#pragma once

#if defined(_WIN32)
#if defined(MVGEO_BUILDING)
#define MVGEO_API __declspec(dllexport)
#elif defined(MVGEO_STATIC)
#define MVGEO_API
#else
#define MVGEO_API __declspec(dllimport)
#endif
#else
#define MVGEO_API __attribute__((visibility("default")))
#endif
