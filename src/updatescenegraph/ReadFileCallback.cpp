#include "updatescenegraph/ReadFileCallback.h"

#include "support/LogLine.h"
#include "support/TileCheck.h"
#include "support/TileReader.h"
#include "support/UserValues.h"
#include "updatescenegraph/SetReadFileCallbackVisitor.h"
#include "updatescenegraph/TextureCache.h"
#include "updatescenegraph/UprightTextures.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>

#include <exception>
#include <utility>

using ReadResult = osgDB::ReaderWriter::ReadResult;

namespace
{

/** Index files written on Windows name their tiles with back-slashes, which other systems take for part of the name. */
std::string nameOnThisSystem(const std::string& fileName)
{
    if (fileName.find('\\') == std::string::npos || osgDB::fileExists(fileName)) return fileName;
    return osgDB::convertFileNameToUnixStyle(fileName);
}

} // namespace

ReadFileCallback::ReadFileCallback(std::function<mvgeo::FailedReads::Clock::time_point()> now)
    : _failedReads(std::move(now))
{
}

ReadFileCallback::~ReadFileCallback() = default;

ReadResult ReadFileCallback::readNode(const std::string& fileName, const osgDB::Options* options)
{
    if (_failedReads.isPaused(fileName)) return emptyResult();

    if (options)
        if (const bool* normals = mvgeo::userValue<bool>(*options, mvgeo::keys::normal)) _generateNormals = *normals;

    ReadResult result = readAndPrepare(fileName, options);
    if (!result.validNode())
    {
        recordFailure(fileName, result);
        return emptyResult();
    }
    _failedReads.recordSuccess(fileName);
    ++_loadedCount;
    return result;
}

void ReadFileCallback::recordFailure(const std::string& fileName, const ReadResult& result)
{
    const bool isFirst = _failedReads.recordFailure(fileName);
    // A reader that says it succeeded and gives no tile has said what there is to say.
    if (isFirst && !result.success()) MVGEO_LOG(WARN) << "cannot read " << fileName << ": " << result.statusMessage();
}

ReadResult ReadFileCallback::emptyResult() const
{
    if (_emptyReadCallback) _emptyReadCallback();
    return ReadResult(ReadResult::FILE_LOADED);
}

// A damaged tile can make OSG throw, for instance when a length in it is absurd.
ReadResult ReadFileCallback::readAndPrepare(const std::string& fileName, const osgDB::Options* options)
{
    try
    {
        ReadResult result = mvgeo::readTileFile(nameOnThisSystem(fileName), options);
        if (!result.validNode()) return result;
        mvgeo::trimTriangles(*result.getNode());
        const std::string fault = mvgeo::faultIn(*result.getNode());
        if (!fault.empty()) return ReadResult(fault);
        prepareTile(*result.getNode(), options);
        return result;
    }
    catch (const std::exception& error)
    {
        return ReadResult(std::string(error.what()));
    }
    catch (...)
    {
        return ReadResult(std::string("unknown exception"));
    }
}

void ReadFileCallback::prepareTile(osg::Node& tile, const osgDB::Options* options)
{
    mvgeo::useSinglePrecisionVertices(tile);
    mvgeo::makeTexturesUpright(tile);
    if (_generateNormals)
    {
        const mvgeo::Lock lock(_normalVisitorLock);
        tile.accept(_normalVisitor);
    }
    if (!options) return;

    if (options->getReadFileCallback())
    {
        SetReadFileCallbackVisitor visitor(options);
        tile.accept(visitor);
    }
    const bool* isCaching = mvgeo::userValue<bool>(*options, mvgeo::keys::isCaching);
    if (isCaching && !*isCaching) return; // read for one measurement
    const std::string* directory = mvgeo::userValue<std::string>(*options, mvgeo::keys::cachePathDir);
    if (directory && !directory->empty()) mvgeo::cacheTextures(tile, *directory);
}
