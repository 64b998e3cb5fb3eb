#pragma once

#include <CLI/CLI.hpp>

namespace mvgeo::host
{
/** Each adds one command. It runs while the command line is parsed, writes its exit status to `status`, and throws
 *  HostError with the sentence for the user if it cannot do its work. */
void addClipCommand(CLI::App& app, int& status);
void addDrapeCommand(CLI::App& app, int& status);
void addFlyCommand(CLI::App& app, int& status);
void addInfoCommand(CLI::App& app, int& status);
void addPickCommand(CLI::App& app, int& status);
void addPrebuildCommand(CLI::App& app, int& status);
void addRenderCommand(CLI::App& app, int& status);
void addSampleCommand(CLI::App& app, int& status);
void addSettingsCommand(CLI::App& app, int& status);
void addTextureCommand(CLI::App& app, int& status);
void addViewCommand(CLI::App& app, int& status);
} // namespace mvgeo::host
