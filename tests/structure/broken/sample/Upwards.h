#pragma once

#include "view/ViewCamera.h"
