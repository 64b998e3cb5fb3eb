#pragma once

// What most commands include, for the compiler's eyes only: see mvgeo_add_common_headers().

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <gdal_priv.h>
#include <osg/Geometry>
#include <osg/Image>
#include <osg/Vec3d>
#include <osgDB/Registry>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>
