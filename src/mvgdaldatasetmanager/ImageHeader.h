#pragma once

#include "mvgdaldatasetmanager/OrthoLayout.h"
#include "support/Mutex.h"

#include <KdString.h>

#include <osg/Referenced>

#include <gdal_priv.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

/** One raster file: its georeferencing and size, read once, and one dataset handle for each thread that reads it.
 *
 * open() comes first and is called once, before the header is shared; everything else may then be called from any
 * thread. A handle is never used by two threads: each asks for its own, by its number. Handles belong to the header;
 * they live until closeThreadDataset() or until the header goes.
 *
 * Frame: the raster's own coordinate system and unit. The geotransform refers to pixel edges: (originX, originY) is
 * the outer corner of the north-western pixel.
 */
class ImageHeader : public osg::Referenced
{
public:
    /** What GDAL documents for a band without a no-data value. Some of its drivers report 0 instead, which would make
     * holes of black pixels and of the sea. */
    static constexpr float kUndeclaredNoData = -1.0e10F;

    ImageHeader();

    /** Opens the raster read-only for the calling thread and reads what describes it. False if it cannot be opened, or
     * if it cannot be used (said with the reason): it has no bands or no georeferencing, is rotated, or its rows run
     * north. */
    [[nodiscard]] bool open(const KdString& path);

    /** The calling thread's own handle, opened on first use; null if the raster cannot be opened (any more). */
    [[nodiscard]] GDALDataset* getDataset();
    /** The handle of the thread with this number (OpenThreads::Thread::CurrentThreadId()), opened on first use; null as
     * above. Only that thread may use it; it is one handle, however many ask for it at once. */
    [[nodiscard]] GDALDataset* getDataset(std::uint64_t threadId);
    /** Closes what that thread had opened. Nothing of that thread may be reading. */
    void closeThreadDataset(std::uint64_t threadId);

    [[nodiscard]] const std::array<double, 6>& geoTransform() const { return _geoTransform; }
    [[nodiscard]] double originX() const { return _geoTransform[0]; }
    [[nodiscard]] double pixelWidth() const { return _geoTransform[1]; }
    [[nodiscard]] double originY() const { return _geoTransform[3]; }
    /** Negative: rows run south. */
    [[nodiscard]] double pixelHeight() const { return _geoTransform[5]; }
    [[nodiscard]] int width() const { return _width; }
    [[nodiscard]] int height() const { return _height; }
    /** Of band 1; kUndeclaredNoData where it declares none. */
    [[nodiscard]] float noData() const { return _noData; }
    [[nodiscard]] const KdString& path() const { return _path; }

    /** Tells one content of the raster from another, by the sizes and modification times of its files when it was
     * opened, its georeferencing and its no-data value. Equal in every process that opens the unchanged raster. Fit
     * for a file name. */
    [[nodiscard]] const std::string& stamp() const { return _stamp; }

    /** How the raster's bands become red, green and blue; worked out on first use, with this thread's own handle. */
    [[nodiscard]] const OrthoLayout& orthoLayout(GDALDataset& dataset) const;

    /** Counts a read of the raster that failed. True for the first: that one is told, the others fail for the same
     * reason. */
    [[nodiscard]] bool recordReadFailure() { return _readFailures++ == 0; }
    [[nodiscard]] std::uint32_t readFailureCount() const { return _readFailures; }

protected:
    ~ImageHeader() override;

private:
    using DatasetsByThread = std::unordered_map<std::uint64_t, GDALDatasetUniquePtr>;

    std::array<double, 6> _geoTransform{};
    float _noData = 0.0F;
    int _width = 0;
    int _height = 0;
    KdString _path;
    std::string _stamp;
    std::atomic<std::uint32_t> _readFailures{0};
    mutable std::once_flag _layoutOnce;
    mutable OrthoLayout _layout; // set under _layoutOnce
    mvgeo::Mutex _datasetsLock;  // never held while a raster is being opened
    DatasetsByThread _datasetsByThread MVGEO_GUARDED_BY(_datasetsLock);
};
