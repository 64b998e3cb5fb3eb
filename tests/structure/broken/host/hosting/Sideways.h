#pragma once

#include "sample/SamplePyramid.h"
#include "view/ViewCamera.h"
