#pragma once

#include "KdDbExtents.h"
#include "KdDbHostApplicationServices.h"
#include "KdEdVariables.h"
#include "KdGeMatrix3d.h"
#include "KdGePoint3d.h"
#include "KdGeVector3d.h"
#include "KdGiGeoMeshImage.h"
#include "KdString.h"
#include "MvErrorStatus.h"
#include "OrloCrashRecorder.h"
#include "OrloSystem.h"
#include "OrloVariant.h"
