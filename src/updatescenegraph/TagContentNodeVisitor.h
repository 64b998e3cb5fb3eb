#pragma once

#include <osg/NodeVisitor>

#include <string>
#include <vector>

namespace osg
{
class Group;
}

/** Gives the content of one loaded tile its identities towards the host: "<model>_<tile file>_<counter>", set as the
 * user value "GlobalID" on the children of its paged nodes and on those children's untagged neighbours. The order of
 * tagging follows from the file alone, so a tile that comes back has the same identities.
 *
 * Let the root accept the visitor; if it then says !tagged(), the tile has no paged node: call tagRoot().
 */
class TagContentNodeVisitor : public osg::NodeVisitor
{
public:
    TagContentNodeVisitor(osg::Node* root, const std::string& tileName, int modelSerial);

    using osg::NodeVisitor::apply;
    void apply(osg::PagedLOD& node) override;

    [[nodiscard]] bool tagged() const { return _tagged != 0; }
    void tagRoot();

private:
    void tag(osg::Node& node);
    void tagSiblings(osg::Group& parent);

    int _tagged = 0;
    osg::ref_ptr<osg::Node> _root;
    std::string _tileName;
    int _counter = 0;
    int _modelSerial;
    const osg::Group* _lastParent = nullptr; // whose children _siblings lists: files may hold thousands of paged nodes
    std::vector<osg::Node*> _siblings;
};

namespace mvgeo
{

/** Tags a freshly read tile with both steps of TagContentNodeVisitor. */
void tagContent(osg::Node& root, const std::string& tileName, int modelSerial);

} // namespace mvgeo
