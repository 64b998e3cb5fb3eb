#pragma once

#if defined(_WIN32)
#if defined(MVGEO_HOSTSDK_BUILDING)
#define HOSTSDK_API __declspec(dllexport)
#else
#define HOSTSDK_API __declspec(dllimport)
#endif
#else
#define HOSTSDK_API __attribute__((visibility("default")))
#endif
