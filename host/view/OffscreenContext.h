#pragma once

#include <memory>

namespace mvgeo::host
{
/** An OpenGL context, with the fixed-function names that OSG uses, that needs no display. It is current on the
 * thread that made it until it goes, and goes on that thread. */
class OffscreenContext
{
public:
    /** Throws HostError if the machine has no such context. */
    OffscreenContext();
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

private:
    struct Handles;
    std::unique_ptr<Handles> _handles;
};
} // namespace mvgeo::host
