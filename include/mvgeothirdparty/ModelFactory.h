#pragma once

#include "ModelType.h"
#include "MvGeoExport.h"
#include "MvGeoMesh.h"

#include <functional>

/** Builds a model, a terrain too: the name is the one under which hosts import it. The caller owns the model and ends
 * it with `delete`.
 *
 * @param callback  called on the model's loading thread when loaded tiles wait for the next MvGeoMesh::update(). It
 * must be quick, must not call the model or throw, and may run until the model's destructor has returned. Its result is
 * not used.
 * @return null for an unknown type
 *
 * The first model of the process opens the log: the host variable "LOGFILEPATH" followed by "GeoCache/3d.log". OSG's
 * notify handler of before is put back when the library is unloaded.
 * Thread: the host's main thread.
 */
MVGEO_API MvGeoMesh* createTiledModel(std::function<bool()> callback, ModelType type);
