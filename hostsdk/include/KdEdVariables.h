#pragma once

#include "HostSdkExport.h"
#include "KdString.h"

/** Looks a host variable up. True if it is set; `*value` is then a copy that the caller releases with kdutDelBuffer().
 * False, with `*value` null, if it is not. Thread: any. */
HOSTSDK_API bool kdedGetVar(const KdChar* name, KdChar** value);

/** Sets a host variable; null text removes it. Thread: any. */
HOSTSDK_API void kdedSetVar(const KdChar* name, const KdChar* value);

/** Releases a text that the host allocated; null is allowed. */
HOSTSDK_API void kdutDelBuffer(KdChar* buffer);
