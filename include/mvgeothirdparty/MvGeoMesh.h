#pragma once

#include <KdDbExtents.h>
#include <KdGeMatrix3d.h>
#include <KdGePoint3d.h>
#include <KdString.h>

#include <vector>

class GeoMeshUpdateReceiver;

/** A streamed mesh model as the host drives it. createTiledModel() makes one; `delete` ends it, at any time, also while
 * tiles are being loaded, but not from within a call of a receiver. What else may be called there says
 * GeoMeshUpdateReceiver.
 *
 * Order of use: addModel() for each model file, setTransform() if the model is placed, then update() once a displayed
 * frame. Every operation runs on one host thread per model. Failure is told by the result; nothing throws.
 *
 * Frames: matrices act on column vectors, p' = M * p, with the translation in the last column, entry[row][3]. The
 * model's frame is that of its files; transform() takes it to the host's frame, and update()'s `model`, or the
 * `placement` of a question, goes on top of that. z points up. Lengths are in the unit of the files, metres as a rule:
 * none is converted, so a host that draws in millimetres scales by setTransform().
 *
 * Binary interface: host and library are compiled apart and call each other through the tables of virtual functions of
 * this class and of GeoMeshUpdateReceiver, GeoMeshTileContainer and KdGiGeoMesh. No function of theirs changes its
 * place, name, arguments or result, whatever a newer style would make of pointers, of an `unsigned char` and of numbers
 * that stand for a choice. New ones go to the end of this class, which the library implements, and under names of their
 * own, since some compilers move overloads together; the other three get none, because hosts implement them and a host
 * that is already compiled would lack it. Standard strings and vectors are handed across, so compiler and standard
 * library must be of one family with the library's.
 */
class MvGeoMesh
{
public:
    /** update(): what `extract` may be. */
    static constexpr unsigned char kExtractGeometry = 0;
    static constexpr unsigned char kExtractTextures = 1; ///< and what kExtractGeometry gives

    /** clip(): what `mode` may be. */
    static constexpr int kClipInside = 0;  ///< what lies inside the boundary, seen from above
    static constexpr int kClipOutside = 1; ///< the rest

    /** clip(): the `rootNodeId` that stands for every model file. */
    static constexpr unsigned int kAllModelFiles = 0xFFFFFFFFU;

    /** clip(): the bits of `options`. */
    static constexpr int kFinestTiles = 1; ///< the finest tiles, which are read if need be; else those in memory

    virtual ~MvGeoMesh() = default;

    /** Reads every model file again. Files that cannot be read any more drop out, and later indices move down. */
    virtual void reload() = 0;

    virtual void setName(const KdString& name) = 0;

    /** Box around all model files in the host's frame, that is with the placement applied; the default box while no
     * model file is loaded. Never looks at the scene, so it is cheap. */
    virtual KdDbExtents extents() const = 0;

    /** Finds the surface under `point`, seen in the view of the last update().
     * @param placement  what update() was given as `model`; must have an inverse
     * @param point      host frame; the ray runs from the eye through it, or along the view direction if orthographic
     * @param hit        host frame; left alone when nothing is hit
     * @return whether it was hit; only tiles in memory are */
    virtual bool pickPoint(const KdGeMatrix3d* placement, const KdGePoint3d* point, KdGePoint3d* hit) = 0;

    /** Finds the triangle under `point`, by the same ray as pickPoint(). On success `triangle` is replaced by its three
     * corners in the host frame; left alone otherwise. */
    virtual bool pickTriangle(const KdGeMatrix3d* placement, const KdGePoint3d* point,
                              std::vector<KdGePoint3d>* triangle) = 0;

    /** One frame: merges loaded tiles, chooses the tiles that the view needs, asks for missing ones, drops old ones and
     * tells the receiver. Never waits for a tile; only the textures of tiles that are announced again are read here,
     * from their cached files.
     * @param frameNumber  the host's; several updates with one number count as one frame for paging
     * @param model        where the model stands in the world of this view, on top of transform(): a point goes through
     * transform() first; the identity if transform() says it all
     * @param view         world to eye
     * @param projection   eye to clip space, as OpenGL defines it
     * @param width,height viewport in pixels
     * @param extract      not kExtractGeometry: textures and texture coordinates are handed over too
     * @param reserved     not used
     * @return false, and nothing happened, if an argument is missing, a matrix has no inverse, the viewport is empty,
     * or an update of this model is under way */
    virtual bool update(unsigned int frameNumber, const KdGeMatrix3d* model, const KdGeMatrix3d* view,
                        const KdGeMatrix3d* projection, int width, int height, unsigned char extract, void* reserved,
                        GeoMeshUpdateReceiver* receiver) = 0;

    /** Adds a model file and reads its root at once; the next update() announces it.
     * @return its index; the index it already has if it was added before; -1 if it cannot be read */
    virtual int addModel(const KdString& path) = 0;

    /** Puts another file in the place of an index and reloads. False only if there is no such index. */
    virtual bool replaceModel(int index, const KdString& path) = 0;

    /** The model's frame to the host's frame. */
    virtual void setTransform(const KdGeMatrix3d& xform) = 0;
    virtual const KdGeMatrix3d& transform() const = 0;

    /** Cuts the model's surface with a boundary as with a vertical punch and appends what is inside or outside it,
     * three points a triangle, the surface's own winding kept.
     * @param mode         kClipInside or kClipOutside
     * @param rootNodeId   the model file to look at, by its place in the order of loading, or kAllModelFiles
     * @param placement    as for pickPoint()
     * @param boundary     host frame, heights are ignored; closed or not, either winding, convex or not. One that
     * crosses itself is made valid: what it encloses an odd number of times is inside.
     * @param heightRange  two heights in the host frame, in either order: only what lies between them; null: all
     * heights
     * @param options      0 or kFinestTiles, as section() does
     * @param triangles    host frame; appended to
     * @return false, with `triangles` as it was, if an argument is missing, mode is another, no model file has that id,
     * `placement` has no inverse, or the boundary has fewer than three distinct points or no area; the log says which.
     * True also if nothing is left. */
    virtual bool clip(int mode, unsigned int rootNodeId, const KdGeMatrix3d* placement,
                      const std::vector<KdGePoint3d>* boundary, const double* heightRange, int options,
                      std::vector<KdGePoint3d>* triangles) = 0;

    /** Lays a line onto the surface: cuts the model with the vertical plane through each of the line's segments.
     *
     * The finest tiles are cut, also those that are not in memory; they are read on the calling thread, kept for this
     * call and do not enter the scene. Where surfaces lie above each other (a bridge, an overhang) each gives a line.
     * @param placement    as for pickPoint()
     * @param polyline     host frame, heights are ignored; at least one point
     * @param drapedLines  host frame; appended to. Each runs along the polyline's direction, with a point at every edge
     * of the mesh that it crosses.
     * @return false only if an argument is missing or `placement` has no inverse; true also if the line misses the
     * model. A tile that cannot be read is replaced by the coarser one. */
    virtual bool section(const KdGeMatrix3d* placement, const std::vector<KdGePoint3d>* polyline,
                         std::vector<std::vector<KdGePoint3d>>* drapedLines) = 0;

    /** On: tiles without normals get smoothed ones, those in memory at once. Off: tiles read from now on do not. Always
     * true. */
    virtual bool setGenerateNormals(bool on) = 0;

    /** Back to an empty model: no files, no name, identity placement. */
    virtual void clear() = 0;
};
