#pragma once

#include "support/Mutex.h"
#include "support/TileOrigin.h"
#include "updatescenegraph/FailedReads.h"
#include "updatescenegraph/GenerateNormalVisitor.h"

#include <osgDB/Callbacks>

#include <atomic>
#include <cstdint>
#include <string>

/** Through this every tile of a model is read. After OSG has read a tile, the tile gets smoothed normals if asked for,
 * its paged nodes get the same callback and cache directory, and its textures go to the cache directory.
 *
 * A tile that cannot be read is remembered (mvgeo::FailedReads). Its first failure is returned as it is, so that the
 * pager writes its one line with path and reason; later requests get an empty success, and while the file is paused
 * nothing is read for them. A reader that throws counts as a failed read.
 *
 * Thread: any; the database thread and the host thread call it at once.
 */
class ReadFileCallback : public osgDB::ReadFileCallback, public mvgeo::TileOriginCounts
{
public:
    /** @param now where the pauses of failed reads take their time from */
    explicit ReadFileCallback(
        std::function<mvgeo::FailedReads::Clock::time_point()> now = &mvgeo::FailedReads::Clock::now);

    osgDB::ReaderWriter::ReadResult readNode(const std::string& fileName, const osgDB::Options* options) override;

    /** Tiles read from now on get normals, unless their read options say otherwise. */
    void setGenerateNormals(bool on) { _generateNormals = on; }
    [[nodiscard]] bool generatesNormals() const { return _generateNormals; }

    /** The next read of this file goes to the disk, whatever is remembered of it. */
    void forgetFailure(const std::string& fileName) { _failedReads.recordSuccess(fileName); }

    void forgetAllFailures() { _failedReads.clear(); }

    [[nodiscard]] std::uint64_t loadedCount() const { return _loadedCount; }
    [[nodiscard]] std::uint64_t failedCount() const { return _failedReads.count(); }

protected:
    ~ReadFileCallback() override;

private:
    [[nodiscard]] osgDB::ReaderWriter::ReadResult readAndPrepare(const std::string& fileName,
                                                                 const osgDB::Options* options);
    void prepareTile(osg::Node& tile, const osgDB::Options* options);

    std::atomic<bool> _generateNormals{false};
    mvgeo::Mutex _normalVisitorLock;
    GenerateNormalVisitor _normalVisitor MVGEO_GUARDED_BY(_normalVisitorLock); // a visitor keeps the path it walks
    mvgeo::FailedReads _failedReads;
    std::atomic<std::uint64_t> _loadedCount{0};
};
