#pragma once

#include "HostSdkExport.h"

class MvErrorStatus;

/** The host's crash recorder: is shown an error before it is thrown. */
class HOSTSDK_API OrloCrashRecorder
{
public:
    virtual ~OrloCrashRecorder();
    virtual void record(const MvErrorStatus& error) = 0;
};

/** The recorder in use; null if the host has none. Thread: any. */
HOSTSDK_API OrloCrashRecorder* orloGetCrashRecorder();

/** Called by the host; the host keeps the object. */
HOSTSDK_API void orloSetCrashRecorder(OrloCrashRecorder* recorder);
