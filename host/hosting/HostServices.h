#pragma once

#include <KdDbHostApplicationServices.h>

namespace mvgeo::host
{
/** What this host tells the library about itself, from the beginning of main() to its end: where its settings lie. */
class HostServices : public KdDbHostApplicationServices
{
public:
    HostServices() { kddbSetHostApplicationServices(this); }
    ~HostServices() override { kddbSetHostApplicationServices(nullptr); }
    HostServices(const HostServices&) = delete;
    HostServices& operator=(const HostServices&) = delete;

    const KdChar* getRegistryProductRootKey() const override
    {
#if defined(_WIN32)
        return L"Software\\MvGeoThirdparty\\mvgeo\\1.0\\en-US";
#else
        return u"Software\\MvGeoThirdparty\\mvgeo\\1.0\\en-US";
#endif
    }
};
} // namespace mvgeo::host
