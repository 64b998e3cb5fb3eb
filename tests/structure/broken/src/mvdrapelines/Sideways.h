#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"
