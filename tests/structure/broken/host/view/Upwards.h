#pragma once

#include "hosting/HostModel.h"

#include <mvgeothirdparty/MvGeoMesh.h>
