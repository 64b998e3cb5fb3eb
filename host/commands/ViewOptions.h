#pragma once

#include "commands/ModelOptions.h"

#include <osg/Vec3f>

#include <optional>

namespace mvgeo::host
{
/** Where a command looks from, at which size, and for how long it waits. */
struct ViewOptions
{
    ViewCamera camera; ///< its lens and size; the place is chosen by makeCamera()
    std::optional<osg::Vec3d> eye;
    std::optional<osg::Vec3d> target;
    std::optional<osg::Vec3f> background;
    double timeoutSeconds = 300.0;
};

/** --fov, --size and --background. */
void addPictureOptions(Command command, ViewOptions& options);
/** --eye and --target. */
void addCameraOptions(Command command, ViewOptions& options);
/** --timeout. */
void addTimeoutOption(Command command, ViewOptions& options);
/** All of these and --ortho: one view that is to be complete. */
void addViewOptions(Command command, ViewOptions& options);

/** The camera of the command line; what was not given is chosen so that the model fills the picture. */
ViewCamera makeCamera(const ViewOptions& options, const OpenModel& open);
ViewFrame makeFrame(const ViewOptions& options, const OpenModel& open);

/** The model's visible tiles as a picture shows them. */
osg::ref_ptr<osg::Group> makeScene(const ViewOptions& options, const OpenModel& open);

HostModel::Clock::time_point deadlineAfter(double seconds);

/** Converges with progress on a terminal; throws HostError when the time is over. */
void convergeOrFail(HostModel& model, const ViewFrame& frame, const ViewOptions& options);
} // namespace mvgeo::host
