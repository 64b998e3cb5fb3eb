#pragma once

#include "commands/CommandLine.h"

namespace mvgeo::host
{
/** Each adds one command. It runs while the command line is parsed. If it cannot do its work it throws HostError with
 * the sentence for the user, or CommandFailed where everything has been said. */
void addClipCommand(Command app);
void addDrapeCommand(Command app);
void addFlyCommand(Command app);
void addInfoCommand(Command app);
void addPickCommand(Command app);
void addPrebuildCommand(Command app);
void addRenderCommand(Command app);
void addSampleCommand(Command app);
void addSettingsCommand(Command app);
void addTextureCommand(Command app);
void addViewCommand(Command app);

/** What most of them have. */
inline void addJsonOption(Command command, bool& json)
{
    command.addFlag("--json", json, "print the result as JSON");
}
} // namespace mvgeo::host
