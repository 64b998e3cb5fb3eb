#pragma once

#ifndef GEOS_USE_ONLY_R_API
#define GEOS_USE_ONLY_R_API
#endif
#include <geos_c.h>

#include <memory>
#include <string>

namespace mvgeo
{

/** What GEOS needs for the length of one operation, and the owners of what it hands out.
 *
 * Lifetime: outlives every owner that it made. Thread: one at a time. Errors: GEOS answers with null or with 2 instead
 * of a truth value; lastError() then says why. Nothing is written to the log.
 */
class GeosSession
{
public:
    GeosSession();
    ~GeosSession();
    GeosSession(const GeosSession&) = delete;
    GeosSession& operator=(const GeosSession&) = delete;

    struct Release
    {
        GEOSContextHandle_t context = nullptr;

        void operator()(GEOSGeometry* geometry) const { GEOSGeom_destroy_r(context, geometry); }
        void operator()(const GEOSPreparedGeometry* prepared) const { GEOSPreparedGeom_destroy_r(context, prepared); }
        void operator()(GEOSSTRtree* tree) const { GEOSSTRtree_destroy_r(context, tree); }
    };
    using Geometry = std::unique_ptr<GEOSGeometry, Release>;
    using Prepared = std::unique_ptr<const GEOSPreparedGeometry, Release>; ///< does not own what was prepared
    using Tree = std::unique_ptr<GEOSSTRtree, Release>;

    [[nodiscard]] GEOSContextHandle_t handle() const { return _context; }
    [[nodiscard]] Geometry own(GEOSGeometry* geometry) const { return {geometry, Release{_context}}; }
    [[nodiscard]] Prepared own(const GEOSPreparedGeometry* prepared) const { return {prepared, Release{_context}}; }
    [[nodiscard]] Tree own(GEOSSTRtree* tree) const { return {tree, Release{_context}}; }

    /** What GEOS said last, empty if nothing went wrong. */
    [[nodiscard]] const std::string& lastError() const { return _lastError; }

private:
    GEOSContextHandle_t _context;
    std::string _lastError;
};

} // namespace mvgeo
