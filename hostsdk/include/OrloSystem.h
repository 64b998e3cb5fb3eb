#pragma once

#include "HostSdkExport.h"

/** Number of processor cores, at least 1; `logical` counts hardware threads, else physical cores. */
HOSTSDK_API int orloGetProcessorCoreCount(bool logical);
