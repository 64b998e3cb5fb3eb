#pragma once

#include "mvgeothirdparty/GeoMeshStatistics.h"
#include "mvgeothirdparty/ModelFactory.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/HostView.h"
#include "support/RecordingReceiver.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

/** A model with a host around it: runs update() with rising frame numbers. */
class ModelDriver
{
public:
    explicit ModelDriver(ModelType type = kTiledModel);
    ~ModelDriver();
    ModelDriver(const ModelDriver&) = delete;
    ModelDriver& operator=(const ModelDriver&) = delete;

    [[nodiscard]] MvOsgGeoMesh& model() { return *_model; }
    [[nodiscard]] GeoMeshStatistics statistics() const;

    /** One frame with textures, checked by the receiver. @return what update() returned */
    bool update();
    /** Updates until nothing more comes for this view. False if that takes longer than half a minute. */
    [[nodiscard]] bool converge();
    /** Waits, without an update, until nothing is queued or being read. False after half a minute. */
    [[nodiscard]] bool waitUntilLoaded();

    int add(const std::string& path) { return _model->addModel(KdString(path.c_str())); }
    void destroyModel() { _model.reset(); }

    HostView view;
    RecordingReceiver receiver;
    unsigned char extract = MvGeoMesh::kExtractTextures;
    unsigned int frameNumber = 0; // of the last update

private:
    template <typename Condition>
    bool waitFor(Condition condition);

    std::mutex _lock;
    std::condition_variable _refresh;
    std::unique_ptr<MvOsgGeoMesh> _model; // after what its callback uses
};
