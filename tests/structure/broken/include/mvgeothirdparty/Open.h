#pragma once

#include <osg/Node>
