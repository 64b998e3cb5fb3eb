#pragma once

#include <osgDB/ReaderWriter>
#include <osgDB/Registry>

namespace mvgeo
{

/** Has a reader-writer registered with OSG for as long as it lives itself. Meant for static objects: the registry,
 * which the constructor asks for, outlives them. */
template <typename Reader>
class ReaderWriterRegistration
{
public:
    ReaderWriterRegistration() : _reader(new Reader)
    {
        if (osgDB::Registry* registry = osgDB::Registry::instance()) registry->addReaderWriter(_reader);
    }
    ~ReaderWriterRegistration()
    {
        if (osgDB::Registry* registry = osgDB::Registry::instance()) registry->removeReaderWriter(_reader);
    }
    ReaderWriterRegistration(const ReaderWriterRegistration&) = delete;
    ReaderWriterRegistration& operator=(const ReaderWriterRegistration&) = delete;

private:
    osg::ref_ptr<osgDB::ReaderWriter> _reader;
};

} // namespace mvgeo
