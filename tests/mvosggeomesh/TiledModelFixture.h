#pragma once

#include "support/LogRecorder.h"
#include "support/ModelDriver.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

/** A folder for data and cache, the log, and a model with its host. */
struct TiledModelFixture : public testing::Test
{
    TemporaryDirectory folder;
    ScopedEnvironment temp{"TEMP", folder / "temp"};
    LogRecorder log;
    ModelDriver driver;

    [[nodiscard]] MvOsgGeoMesh& model() { return driver.model(); }
    [[nodiscard]] RecordingReceiver& receiver() { return driver.receiver; }
    [[nodiscard]] TilePyramid pyramid(const TilePyramidOptions& options = {}, const std::string& name = "data") const
    {
        return TilePyramid(folder / name, options);
    }
    /** From straight above the middle of the first root tile, which then fills the picture. */
    [[nodiscard]] static HostView fromAbove(double height = 100.0)
    {
        return perspectiveView({50.0, 50.0, height}, {50.0, 50.0, 0.0});
    }
    void expectCleanContract() { EXPECT_THAT(driver.receiver.errors, testing::IsEmpty()); }
    [[nodiscard]] std::string id(const std::string& rest)
    {
        return std::to_string(model().instanceNumber()) + '_' + rest;
    }
};
