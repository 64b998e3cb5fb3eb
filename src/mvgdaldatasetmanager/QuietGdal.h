#pragma once

#include <cpl_error.h>

namespace mvgeo
{

/** Keeps GDAL's messages of this thread off the standard error stream while it lives; the last one can still be had
 * from CPLGetLastErrorMsg. */
class QuietGdal
{
public:
    QuietGdal() { CPLPushErrorHandler(CPLQuietErrorHandler); }
    ~QuietGdal() { CPLPopErrorHandler(); }
    QuietGdal(const QuietGdal&) = delete;
    QuietGdal& operator=(const QuietGdal&) = delete;
};

} // namespace mvgeo
