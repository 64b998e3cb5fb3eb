#pragma once

#include <osg/Object>
#include <osg/UserDataContainer>
#include <osg/ValueObject>

#include <string>
#include <typeinfo>

namespace mvgeo
{

/** The user value of exactly this type, or null: a value stored under another type counts as absent. The pointer lives
 * as long as the value is not set again. Allocates nothing, so that it may stand in a traversal. */
template <typename T>
[[nodiscard]] const T* userValue(const osg::Object& object, const std::string& name)
{
    const osg::UserDataContainer* container = object.getUserDataContainer();
    if (!container) return nullptr;
    const osg::Object* value = container->getUserObject(name);
    // The library never derives from a value object, so comparing the types replaces the slower dynamic_cast.
    if (!value || typeid(*value) != typeid(osg::TemplateValueObject<T>)) return nullptr;
    return &static_cast<const osg::TemplateValueObject<T>*>(value)->getValue();
}

/** Keys of the user values that several modules share. */
namespace keys
{
inline const std::string globalId = "GlobalID";         ///< string on a node: the tile's identity towards the host
inline const std::string valid = "valid";               ///< bool on a node: false while it is being removed
inline const std::string rootNodeId = "root_nodeid";    ///< unsigned on a model file's root
inline const std::string topNode = "top_node";          ///< bool on the model's root
inline const std::string imagePath = "imagePath";       ///< string on a texture: its cached image file
inline const std::string cachePathDir = "cachePathDir"; ///< string on read options: folder of the image cache
inline const std::string normal = "normal";             ///< bool on read options: give tiles normals
inline const std::string isCaching = "isCaching";       ///< bool on read options: keep on the disk; absent means true
inline const std::string geometryOnly = "geometryOnly"; ///< bool on read options: textures are not wanted

// Of the description that the nodes of terrain tiles carry:
inline const std::string startX = "startX"; ///< doubles: west, south, east and north edge
inline const std::string startY = "startY";
inline const std::string endX = "endX";
inline const std::string endY = "endY";
inline const std::string demWidth = "demWidth"; ///< ints: posts across the tile
inline const std::string demHeight = "demHeight";
inline const std::string demResolutionX = "demResolutionX"; ///< doubles: the DEM's pixel size
inline const std::string demResolutionY = "demResolutionY";
} // namespace keys

} // namespace mvgeo
