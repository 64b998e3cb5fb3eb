#pragma once

#include "support/UserValues.h"

#include <osg/Group>
#include <osgDB/Callbacks>
#include <osgDB/Options>

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/** Answers reads from memory and notes them; a name that it does not know cannot be read. */
class MemoryFiles : public osgDB::ReadFileCallback
{
public:
    osgDB::ReaderWriter::ReadResult readNode(const std::string& fileName, const osgDB::Options* options) override
    {
        reads.push_back(fileName);
        const bool* isCaching = options ? mvgeo::userValue<bool>(*options, "isCaching") : nullptr;
        caching.push_back(isCaching ? std::optional<bool>(*isCaching) : std::nullopt);
        lastOptions = options;
        if (whileReading) whileReading(fileName);
        if (throwing == fileName) throw std::runtime_error("damaged");
        const auto found = nodes.find(fileName);
        if (found == nodes.end())
            return osgDB::ReaderWriter::ReadResult(osgDB::ReaderWriter::ReadResult::FILE_NOT_FOUND);
        return osgDB::ReaderWriter::ReadResult(found->second());
    }

    /** A new node of this name at each read. */
    void addNode(const std::string& fileName)
    {
        nodes[fileName] = [fileName]
        {
            osg::ref_ptr<osg::Node> node = new osg::Group;
            node->setName(fileName);
            return node;
        };
    }
    [[nodiscard]] osg::ref_ptr<osgDB::Options> options()
    {
        osg::ref_ptr<osgDB::Options> result = new osgDB::Options;
        result->setReadFileCallback(this);
        return result;
    }

    std::map<std::string, std::function<osg::ref_ptr<osg::Node>()>> nodes;
    std::function<void(const std::string&)> whileReading;
    std::string throwing; // this file's reader throws
    std::vector<std::string> reads;
    std::vector<std::optional<bool>> caching;       // "isCaching" of each read
    osg::ref_ptr<const osgDB::Options> lastOptions; // of ours, they hold us: whoever makes us lets go of them

protected:
    ~MemoryFiles() override = default;
};
