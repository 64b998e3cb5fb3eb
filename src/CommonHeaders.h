#pragma once

// What most modules include, for the compiler's eyes only: see mvgeo_add_common_headers().

#include <osg/Geometry>
#include <osg/Image>
#include <osg/Node>
#include <osg/NodeVisitor>
#include <osg/PagedLOD>
#include <osg/ValueObject>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Options>
#include <osgDB/Registry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>
