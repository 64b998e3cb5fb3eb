#pragma once

#include "support/Mutex.h"
#include "support/TileOrigin.h"
#include "updatescenegraph/FailedReads.h"
#include "updatescenegraph/GenerateNormalVisitor.h"

#include <osgDB/Callbacks>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

/** Through this every tile of a model is read. After OSG has read a tile, the tile gets smoothed normals if asked for,
 * its paged nodes get the same callback and cache directory, and its textures go to the cache directory.
 *
 * A tile that cannot be read is remembered (mvgeo::FailedReads), and its first failure gives one line in the log with
 * path and reason; while the file is paused nothing is read for it. A reader that throws counts as a failed read. The
 * result is a success without a node in either case: of a failure OSG would write a line of its own, to a stream that
 * the threads of several models garble.
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

    /** Called on the reading thread after each read that gave no tile. Set once, before the first read. */
    void setEmptyReadCallback(std::function<void()> callback) { _emptyReadCallback = std::move(callback); }

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
    void recordFailure(const std::string& fileName, const osgDB::ReaderWriter::ReadResult& result);
    [[nodiscard]] osgDB::ReaderWriter::ReadResult emptyResult() const;

    std::function<void()> _emptyReadCallback;
    std::atomic<bool> _generateNormals{false};
    mvgeo::Mutex _normalVisitorLock;
    GenerateNormalVisitor _normalVisitor MVGEO_GUARDED_BY(_normalVisitorLock); // a visitor keeps the path it walks
    mvgeo::FailedReads _failedReads;
    std::atomic<std::uint64_t> _loadedCount{0};
};
