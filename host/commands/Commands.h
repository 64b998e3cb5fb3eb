#pragma once

#include <CLI/CLI.hpp>

namespace mvgeo::host
{
/** Each adds one command. It runs while the command line is parsed. If it cannot do its work it throws HostError with
 * the sentence for the user, or CLI::RuntimeError where everything has been said. */
void addClipCommand(CLI::App& app);
void addDrapeCommand(CLI::App& app);
void addFlyCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addPickCommand(CLI::App& app);
void addPrebuildCommand(CLI::App& app);
void addRenderCommand(CLI::App& app);
void addSampleCommand(CLI::App& app);
void addSettingsCommand(CLI::App& app);
void addTextureCommand(CLI::App& app);
void addViewCommand(CLI::App& app);

/** What most of them have. */
inline void addJsonOption(CLI::App& command, bool& json)
{
    command.add_flag("--json", json, "print the result as JSON");
}
} // namespace mvgeo::host
