#pragma once

#include "HostSdkExport.h"

#include <cstddef>

/** Where the payload blocks of variants come from. A test puts one in that counts, or that fails. */
class HOSTSDK_API OrloPayloadAllocator
{
public:
    virtual ~OrloPayloadAllocator();
    /** Null when memory runs out. */
    virtual unsigned char* allocate(std::size_t byteCount) = 0;
    /** Never called with null. */
    virtual void release(unsigned char* block) = 0;
};

/** Null puts the ordinary one back. The caller keeps the object, and changes it only while no variant has a payload. */
HOSTSDK_API void orloSetPayloadAllocator(OrloPayloadAllocator* allocator);
