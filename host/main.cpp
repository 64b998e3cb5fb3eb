#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "common/HostError.h"
#include "hosting/HostServices.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>

namespace
{
int fail(std::string sentence, int status)
{
    std::replace(sentence.begin(), sentence.end(), '\n', ' ');
    std::cerr << "mvgeo: " << sentence << '\n';
    return status;
}

int run(mvgeo::host::CommandLine& commandLine, int argumentCount, char** arguments)
{
    try
    {
        commandLine.run(argumentCount, arguments);
    }
    catch (const mvgeo::host::CommandFailed& failure)
    {
        return failure.exitStatus;
    }
    catch (const mvgeo::host::HostError& error)
    {
        return fail(error.what(), error.exitStatus());
    }
    catch (const std::bad_alloc&)
    {
        return fail("There is not enough memory.", EXIT_FAILURE);
    }
    catch (const std::exception& error)
    {
        return fail(std::string("Unexpected: ") + error.what() + ".", EXIT_FAILURE);
    }
    return EXIT_SUCCESS;
}
} // namespace

int main(int argumentCount, char** arguments)
{
    const mvgeo::host::HostServices services;
    mvgeo::host::CommandLine commandLine("mvgeo", "Streams oblique-photography models and terrains, and draws them.");
    const mvgeo::host::Command program = commandLine.root();
    mvgeo::host::addSampleCommand(program);
    mvgeo::host::addInfoCommand(program);
    mvgeo::host::addRenderCommand(program);
    mvgeo::host::addFlyCommand(program);
    mvgeo::host::addViewCommand(program);
    mvgeo::host::addPickCommand(program);
    mvgeo::host::addDrapeCommand(program);
    mvgeo::host::addClipCommand(program);
    mvgeo::host::addPrebuildCommand(program);
    mvgeo::host::addTextureCommand(program);
    mvgeo::host::addSettingsCommand(program);
    const int status = run(commandLine, argumentCount, arguments);
    std::cout.flush();
    return std::cout ? status : fail("Cannot write to standard output.", EXIT_FAILURE);
}
