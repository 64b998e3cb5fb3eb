#include "KdDbHostApplicationServices.h"

#include <atomic>

namespace
{
std::atomic<KdDbHostApplicationServices*> currentServices{nullptr};
}

KdDbHostApplicationServices::~KdDbHostApplicationServices() = default;

KdDbHostApplicationServices* kddbHostApplicationServices()
{
    return currentServices.load();
}

void kddbSetHostApplicationServices(KdDbHostApplicationServices* services)
{
    currentServices.store(services);
}
