#include "HostError.h"
#include "HostServices.h"
#include "commands/Commands.h"

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

int run(CLI::App& app, int argumentCount, char** arguments, int& status)
{
    try
    {
        app.parse(argumentCount, arguments);
        if (app.get_subcommands().empty()) return fail("A command is required; mvgeo --help lists them.", EXIT_FAILURE);
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0) return app.exit(error); // --help
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
    return status;
}
} // namespace

int main(int argumentCount, char** arguments)
{
    const mvgeo::host::HostServices services;
    CLI::App app("Streams oblique-photography models and terrains, and draws them.", "mvgeo");
    app.require_subcommand(0, 1); // none is our own sentence, and an unknown one is named in the parser's
    app.get_formatter()->column_width(34);
    int status = EXIT_FAILURE;
    mvgeo::host::addSampleCommand(app, status);
    mvgeo::host::addInfoCommand(app, status);
    mvgeo::host::addRenderCommand(app, status);
    mvgeo::host::addFlyCommand(app, status);
    mvgeo::host::addViewCommand(app, status);
    mvgeo::host::addPickCommand(app, status);
    mvgeo::host::addDrapeCommand(app, status);
    mvgeo::host::addClipCommand(app, status);
    mvgeo::host::addPrebuildCommand(app, status);
    mvgeo::host::addTextureCommand(app, status);
    mvgeo::host::addSettingsCommand(app, status);
    status = run(app, argumentCount, arguments, status);
    std::cout.flush();
    return std::cout ? status : fail("Cannot write to standard output.", EXIT_FAILURE);
}
