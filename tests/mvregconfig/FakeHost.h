#pragma once

#include "hostsdk/HostText.h"
#include "hostsdk/ListeningRecorder.h"

#include <KdDbHostApplicationServices.h>
#include <OrloPayloadAllocator.h>

#include <vector>

/** A running host while it lives. */
class RunningHost : public KdDbHostApplicationServices
{
public:
    explicit RunningHost(const KdChar* root = HOST_TEXT("Software\\Maker\\Product\\1.0\\en-US")) : _root(root)
    {
        kddbSetHostApplicationServices(this);
    }
    ~RunningHost() override { kddbSetHostApplicationServices(nullptr); }
    const KdChar* getRegistryProductRootKey() const override { return _root; }

private:
    const KdChar* _root;
};

/** Counts the payload blocks that were made and freed; gives none while `isExhausted`. */
class CountingAllocator : public OrloPayloadAllocator
{
public:
    CountingAllocator() { orloSetPayloadAllocator(this); }
    ~CountingAllocator() override { orloSetPayloadAllocator(nullptr); }
    unsigned char* allocate(std::size_t byteCount) override
    {
        if (isExhausted) return nullptr;
        ++made;
        return new unsigned char[byteCount];
    }
    void release(unsigned char* block) override
    {
        ++freed;
        delete[] block;
    }

    int made = 0;
    int freed = 0;
    bool isExhausted = false;
};
