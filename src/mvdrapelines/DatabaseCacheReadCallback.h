#pragma once

#include "support/Mutex.h"

#include <osg/Node>
#include <osg/ref_ptr>
#include <osgDB/Options>
#include <osgUtil/IntersectionVisitor>

#include <cstdint>
#include <map>
#include <string>

/** Reads the tiles that a measurement needs and the scene does not hold, and keeps them for the measurement's length: a
 * long line asks for the same tile once a segment.
 *
 * Of a tile only the geometry is kept: textures and other state are dropped as soon as it is read, unless OSG shares it
 * with others.
 *
 * The limit is a soft one: a new tile takes the place of the first one, by name, that nobody else holds; if all are
 * held, it is stored on top. A tile that cannot be read is not remembered.
 *
 * Thread: any; no lock is held while a file is read. Two threads that miss the same file both read it, and the later
 * one's tile stays. Ownership: every stored tile lives until it is replaced or the callback goes.
 */
class DatabaseCacheReadCallback : public osgUtil::IntersectionVisitor::ReadCallback
{
public:
    explicit DatabaseCacheReadCallback(std::uint32_t maximumFiles);

    osg::ref_ptr<osg::Node> readNodeFile(const std::string& fileName) override;
    /** Null if the file cannot be read, also if its reader throws.
     * @param options  may be null; a tile that is stored already is returned whatever they say */
    virtual osg::ref_ptr<osg::Node> readNodeFile(const std::string& fileName, const osgDB::Options* options);

    /** The stored tile; null if there is none. Spares the options of a read that does not happen. */
    [[nodiscard]] osg::ref_ptr<osg::Node> find(const std::string& fileName);

protected:
    ~DatabaseCacheReadCallback() override;

private:
    void store(const std::string& fileName, const osg::ref_ptr<osg::Node>& node);
    void eraseFirstUnheld() MVGEO_REQUIRES(_lock);

    std::uint32_t _maximumFiles;
    mvgeo::Mutex _lock;
    std::map<std::string, osg::ref_ptr<osg::Node>> _nodes MVGEO_GUARDED_BY(_lock); // by file name
};
