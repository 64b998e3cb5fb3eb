#pragma once

#include "KdString.h"

// A literal of host text: 16-bit units on every platform.
#if defined(_WIN32)
#define HOST_TEXT(literal) L##literal
#else
#define HOST_TEXT(literal) u##literal
#endif
