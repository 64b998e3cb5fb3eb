#pragma once

namespace mvgeo
{

/** Registers GDAL's drivers, once a process, from whichever thread comes first. */
void registerRasterDrivers();

/** Keeps GDAL's messages of this thread off the standard error stream while it lives; the last one can still be had
 *  from CPLGetLastErrorMsg. */
class QuietGdal
{
public:
    QuietGdal();
    ~QuietGdal();
    QuietGdal(const QuietGdal&) = delete;
    QuietGdal& operator=(const QuietGdal&) = delete;
};

} // namespace mvgeo
