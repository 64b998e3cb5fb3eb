#include "platform/TickCount.h"

#include "platform/windows/WindowsApi.h"

namespace mvgeo::platform
{

std::uint32_t tickCountMs()
{
    return GetTickCount();
}

} // namespace mvgeo::platform
