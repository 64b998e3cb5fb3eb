#pragma once

#include "hosting/BlockTexture.h"

#include <KdGiGeoMeshImage.h>

#include <osg/Texture2D>
#include <osg/ref_ptr>

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace mvgeo::host
{
/** One texture on its way to the graphics card, shared by all meshes whose texture has the same key. */
class HostTexture
{
public:
    /** Null until the pixels came, and for ever if they could not be read. */
    [[nodiscard]] osg::Texture2D* texture() const { return _texture.get(); }
    [[nodiscard]] std::size_t byteCount() const { return _byteCount; }

    /** For a mesh whose coordinates leave 0..1. */
    void repeat();

private:
    friend class TextureCache;

    /** Takes the pixels of the first object that has some; the others go. True if there is a texture afterwards. */
    bool takePixels(const std::shared_ptr<UndrawableCount>& undrawable);

    std::vector<std::unique_ptr<KdGiGeoMeshImage>> _sources; // until their pixels can be had
    osg::ref_ptr<osg::Texture2D> _texture;
    std::size_t _byteCount = 0;
    bool _repeats = false;
};

/** Turns the texture objects that the library hands over into OSG textures, one for each key.
 *
 * Order of use: adopt() during MvGeoMesh::update(), loadPending() after it. A texture lives as long as somebody holds
 * what adopt() returned. The pixels are not copied: OSG's image borrows them from the texture object, owns
 * that object, and drops both once the card has them.
 *
 * Thread: the one that updates.
 */
class TextureCache
{
public:
    std::shared_ptr<HostTexture> adopt(std::unique_ptr<KdGiGeoMeshImage> image);
    void loadPending();

    /** Distinct textures in use, and their bytes. */
    [[nodiscard]] std::size_t textureCount() const;
    [[nodiscard]] std::size_t byteCount() const;

    /** Pixel blocks taken over since the start: never more than one for a key in use. */
    [[nodiscard]] std::size_t loadCount() const { return _loadCount; }

    /** Textures drawn so far whose format neither OpenGL nor the host can make pixels of. */
    [[nodiscard]] std::size_t undrawableCount() const { return *_undrawable; }

private:
    std::unordered_map<std::string, std::weak_ptr<HostTexture>> _textures;
    std::vector<std::shared_ptr<HostTexture>> _pending;
    std::size_t _loadCount = 0;
    std::shared_ptr<UndrawableCount> _undrawable = std::make_shared<UndrawableCount>(0); // textures may outlive us
};
} // namespace mvgeo::host
