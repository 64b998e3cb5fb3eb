#pragma once

// What most tests include, for the compiler's eyes only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/PagedLOD>
#include <osg/Texture2D>
#include <osg/ValueObject>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>
