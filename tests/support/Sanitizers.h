#pragma once

// Which sanitizer this program is built with, as the compilers say it: MVGEO_HAS_ADDRESS_SANITIZER,
// MVGEO_HAS_THREAD_SANITIZER.

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MVGEO_HAS_ADDRESS_SANITIZER
#endif
#if __has_feature(thread_sanitizer)
#define MVGEO_HAS_THREAD_SANITIZER
#endif
#endif

#ifdef __SANITIZE_ADDRESS__
#define MVGEO_HAS_ADDRESS_SANITIZER
#endif
#ifdef __SANITIZE_THREAD__
#define MVGEO_HAS_THREAD_SANITIZER
#endif
