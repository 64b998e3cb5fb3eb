#include "updatescenegraph/SetReadFileCallbackVisitor.h"

#include "support/UserValues.h"

#include <osg/PagedLOD>

SetReadFileCallbackVisitor::SetReadFileCallbackVisitor(const osgDB::Options* sourceOptions)
    : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), _sourceOptions(sourceOptions)
{
}

void SetReadFileCallbackVisitor::apply(osg::PagedLOD& node)
{
    osg::ref_ptr<osgDB::Options> options = dynamic_cast<osgDB::Options*>(node.getDatabaseOptions());
    if (!options) options = new osgDB::Options;

    options->setReadFileCallback(_sourceOptions->getReadFileCallback());
    const std::string* directory = mvgeo::userValue<std::string>(*_sourceOptions, mvgeo::keys::cachePathDir);
    options->setUserValue(mvgeo::keys::cachePathDir, directory ? *directory : std::string());
    node.setDatabaseOptions(options);
}
