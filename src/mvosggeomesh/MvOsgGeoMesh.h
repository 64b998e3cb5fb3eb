#pragma once

#include "mvgeothirdparty/GeoMeshStatistics.h"
#include "mvgeothirdparty/MvGeoMesh.h"
#include "mvosggeomesh/MeshExtraction.h"
#include "mvosggeomesh/Placement.h"
#include "updatescenegraph/DatabasePagerBridge.h"
#include "updatescenegraph/ReadFileCallback.h"
#include "updatescenegraph/SceneViewVisitor.h"

#include <osg/FrameStamp>
#include <osg/MatrixTransform>
#include <osg/Timer>
#include <osgDB/Options>
#include <osgUtil/LineSegmentIntersector>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/** A model made of ".osgb" pyramids: each model file is the root of one, all hang below one transform.
 *
 * Every model has its own pager with one database thread. Root files are read at once on the host's thread; finer tiles
 * are read by the database thread and enter the scene only inside update().
 *
 * Thread: one host thread per model.
 */
class MvOsgGeoMesh : public MvGeoMesh
{
public:
    explicit MvOsgGeoMesh(std::function<bool()> callback);
    ~MvOsgGeoMesh() override;
    MvOsgGeoMesh(const MvOsgGeoMesh&) = delete;
    MvOsgGeoMesh& operator=(const MvOsgGeoMesh&) = delete;

    void reload() override;
    void setName(const KdString& name) override { _name = name; }
    KdDbExtents extents() const override;
    bool pickPoint(const KdGeMatrix3d* placement, const KdGePoint3d* point, KdGePoint3d* hit) override;
    bool pickTriangle(const KdGeMatrix3d* placement, const KdGePoint3d* point,
                      std::vector<KdGePoint3d>* triangle) override;
    bool update(unsigned int frameNumber, const KdGeMatrix3d* model, const KdGeMatrix3d* view,
                const KdGeMatrix3d* projection, int width, int height, unsigned char extract, void* reserved,
                GeoMeshUpdateReceiver* receiver) override;
    int addModel(const KdString& path) override;
    bool replaceModel(int index, const KdString& path) override;
    void setTransform(const KdGeMatrix3d& xform) override;
    const KdGeMatrix3d& transform() const override { return _hostTransform; }
    bool clip(int mode, unsigned int rootNodeId, const KdGeMatrix3d* placement,
              const std::vector<KdGePoint3d>* boundary, const double* heightRange, int options,
              std::vector<KdGePoint3d>* triangles) override;
    bool section(const KdGeMatrix3d* placement, const std::vector<KdGePoint3d>* polyline,
                 std::vector<std::vector<KdGePoint3d>>* drapedLines) override;
    bool setGenerateNormals(bool on) override;
    void clear() override;

    /** Whether a boundary is fit for use; may clean it. A tiled model takes every boundary as it is. */
    virtual bool checkBoundary(std::vector<KdGePoint3d>& points);
    /** Joins the pieces of a section in place. */
    virtual void joinDrapedPieces(std::vector<std::vector<KdGePoint3d>>& pieces);
    /** Reads one model file and adds it below the root; the extents then cover it. */
    virtual bool loadModel(const KdString& path);
    /** Names and makes the cache directory of a model file.
     * @param dir  written in any case
     * @return whether the directory is there afterwards */
    virtual bool makeCacheDirectory(const std::string& pathAnsi, std::string& dir);

    void fillStatistics(GeoMeshStatistics& statistics) const;

    [[nodiscard]] const osg::MatrixTransform& root() const { return *_root; }
    [[nodiscard]] osg::MatrixTransform& root() { return *_root; }
    [[nodiscard]] DatabasePagerBridge& pager() { return *_pager; }
    [[nodiscard]] SceneViewVisitor& sceneVisitor() { return *_sceneVisitor; }
    [[nodiscard]] const osg::FrameStamp& frameStamp() const { return *_frameStamp; }
    [[nodiscard]] std::uint32_t instanceNumber() const { return _instanceNumber; }
    [[nodiscard]] const std::vector<KdString>& modelPaths() const { return _modelPaths; }

protected:
    [[nodiscard]] bool isReadyToPage() const { return _pager && _sceneVisitor && _frameStamp; }
    /** Read options of one model file, which name its cache directory. */
    [[nodiscard]] osg::ref_ptr<osgDB::Options> optionsFor(const KdString& path);
    /** Reads a root file, makes its paged nodes ours, names its content and adds it below the root. Null if it cannot
     * be read. */
    osg::ref_ptr<osg::Node> addRootFile(const std::string& fileName, const osgDB::Options* options);
    /** Waits until nothing is being read any more. The model pages no more afterwards. */
    void stopPaging();
    /** The tiles end in upright walls that hide cracks and are no part of the surface: measuring leaves them out. */
    void setHasSkirts() { _hasSkirts = true; }
    /** In the files' own coordinates, before transform(). */
    void setExtents(const osg::BoundingBoxd& box);

private:
    void addToRoot(osg::Node& node);
    /** The next update hands the newest model file's root tiles over, also to a host that has tiles already. */
    void announceLastModel();
    /** Reads every path again; those that cannot be read drop out, except the one to keep (may be null). */
    void reloadModels(const KdString* pathToKeep);
    void measureExtents();
    void removeAllModels();

    void storeView(const osg::Matrixd& view, const osg::Matrixd& projection, int width, int height);
    void setUpSceneVisitor(const mvgeo::Placement& placement, int width, int height);
    void advanceFrame(unsigned int frameNumber);
    void pageScene(const osg::Matrixd& modelToHost);

    using Nodes = std::vector<osg::ref_ptr<osg::Node>>;
    /** What one update tells the host. A receiver's call may change the model, so all of it is taken before the first.
     * The vectors are used again, so that a converged frame allocates nothing for a tile. */
    struct FrameTiles
    {
        Nodes fileRoots;
        Nodes loaded;
        Nodes removed;
        std::vector<std::string> removedIds;
        Nodes visible;
        std::vector<std::string> visibleIds; // theirs
    };
    [[nodiscard]] FrameTiles takeFrameTiles();
    void keepForNextFrame(FrameTiles tiles);
    void tellReceiver(FrameTiles& tiles, const mvgeo::ExtractionContext& context,
                      GeoMeshUpdateReceiver& receiver) const;
    [[nodiscard]] std::vector<mvgeo::TextureWorkItem>
    extractTiles(const Nodes& loaded, const mvgeo::ExtractionContext& context, GeoMeshUpdateReceiver& receiver) const;

    /** Cuts the finest tiles upright along a line; each piece runs along its segment. Model's frame. */
    [[nodiscard]] std::vector<std::vector<KdGePoint3d>> cutAlong(const std::vector<osg::Vec3d>& points);
    [[nodiscard]] std::optional<osgUtil::LineSegmentIntersector::Intersection>
    firstHit(const mvgeo::Placement& placement, const KdGePoint3d& point);

    KdString _name;
    std::string _text;
    std::vector<KdString> _modelPaths;
    osg::ref_ptr<osg::MatrixTransform> _root;
    KdDbExtents _extents; // before _hostTransform
    KdGeMatrix3d _hostTransform;
    osg::Matrixd _viewMatrix;
    osg::Matrixd _projectionMatrix;
    osg::Matrixd _viewportMatrix;
    osg::ref_ptr<osgUtil::LineSegmentIntersector> _pickIntersector;
    osg::ref_ptr<osgDB::Options> _readOptions;
    osg::ref_ptr<ReadFileCallback> _readFileCallback;
    osg::ref_ptr<DatabasePagerBridge> _pager;
    osg::ref_ptr<SceneViewVisitor> _sceneVisitor;
    osg::ref_ptr<osg::FrameStamp> _frameStamp;
    osg::Timer_t _creationTick;
    std::function<bool()> _refreshCallback;
    std::optional<std::uint32_t> _lastFrameNumber; // the host's
    std::uint32_t _instanceNumber;
    bool _hasSkirts = false;
    bool _isUpdating = false;
    FrameTiles _frameTiles; // of the last update; empty during one
};
