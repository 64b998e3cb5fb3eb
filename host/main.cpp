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

int run(CLI::App& app, int argumentCount, char** arguments)
{
    try
    {
        app.parse(argumentCount, arguments);
        if (app.get_subcommands().empty()) return fail("A command is required; mvgeo --help lists them.", EXIT_FAILURE);
    }
    catch (const CLI::ParseError& error)
    {
        const bool isSaid = error.get_exit_code() == 0 || error.get_name() == "RuntimeError"; // --help prints itself
        if (isSaid) return app.exit(error);
        return fail(error.what(), EXIT_FAILURE);
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
    CLI::App app("Streams oblique-photography models and terrains, and draws them.", "mvgeo");
    app.require_subcommand(0, 1); // none is our own sentence, and an unknown one is named in the parser's
    app.get_formatter()->column_width(34);
    mvgeo::host::addSampleCommand(app);
    mvgeo::host::addInfoCommand(app);
    mvgeo::host::addRenderCommand(app);
    mvgeo::host::addFlyCommand(app);
    mvgeo::host::addViewCommand(app);
    mvgeo::host::addPickCommand(app);
    mvgeo::host::addDrapeCommand(app);
    mvgeo::host::addClipCommand(app);
    mvgeo::host::addPrebuildCommand(app);
    mvgeo::host::addTextureCommand(app);
    mvgeo::host::addSettingsCommand(app);
    const int status = run(app, argumentCount, arguments);
    std::cout.flush();
    return std::cout ? status : fail("Cannot write to standard output.", EXIT_FAILURE);
}
