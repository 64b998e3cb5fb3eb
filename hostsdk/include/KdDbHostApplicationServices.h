#pragma once

#include "HostSdkExport.h"
#include "KdString.h"

/** What the running host application tells its plug-ins about itself. */
class HOSTSDK_API KdDbHostApplicationServices
{
public:
    virtual ~KdDbHostApplicationServices();

    /** Path below the current user's settings that names product, version and language. Valid as long as the object. */
    virtual const KdChar* getRegistryProductRootKey() const = 0;
};

/** The services of the running host; null outside one. Thread: any. */
HOSTSDK_API KdDbHostApplicationServices* kddbHostApplicationServices();

/** Called by the host at start and, with null, before it ends. The host keeps the object. */
HOSTSDK_API void kddbSetHostApplicationServices(KdDbHostApplicationServices* services);
