#include "commands/CommandLine.h"

#include "common/HostError.h"

#include <CLI/CLI.hpp>

namespace mvgeo::host
{
namespace
{
constexpr std::size_t kHelpColumn = 34;
} // namespace

CommandOption& CommandOption::required()
{
    _option->required();
    return *this;
}

CommandOption& CommandOption::needs(const CommandOption& other)
{
    _option->needs(other._option);
    return *this;
}

CommandOption& CommandOption::typeName(const std::string& name)
{
    _option->type_name(name);
    return *this;
}

CommandOption& CommandOption::showDefault()
{
    _option->capture_default_str();
    return *this;
}

CommandOption& CommandOption::between(int low, int high)
{
    _option->check(CLI::Range(low, high));
    return *this;
}

CommandOption& CommandOption::between(double low, double high)
{
    _option->check(CLI::Range(low, high));
    return *this;
}

CommandOption& CommandOption::oneOf(const std::vector<std::string>& values)
{
    _option->check(CLI::IsMember(values));
    return *this;
}

CommandOption& CommandOption::oneOfTypeName(const std::vector<std::string>& values)
{
    _option->check(CLI::IsMember(values).description(""));
    return *this;
}

Command Command::addCommand(const std::string& name, const std::string& help)
{
    return Command(*_app->add_subcommand(name, help));
}

void Command::requireCommand()
{
    _app->require_subcommand(1);
}

CommandOption Command::add(const std::string& name, std::string& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, int& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, unsigned int& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, double& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, std::optional<int>& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, std::optional<unsigned int>& value, const std::string& help)
{
    return CommandOption(*_app->add_option(name, value, help));
}

CommandOption Command::add(const std::string& name, std::vector<std::string>& values, const std::string& help)
{
    return CommandOption(*_app->add_option(name, values, help));
}

CommandOption Command::addFlag(const std::string& name, bool& value, const std::string& help)
{
    return CommandOption(*_app->add_flag(name, value, help));
}

CommandOption Command::addText(const std::string& name, const std::function<void(const std::string&)>& take,
                               const std::string& help)
{
    return CommandOption(*_app->add_option_function<std::string>(name, take, help));
}

void Command::onRun(const std::function<void()>& work)
{
    _app->callback(work);
}

CommandLine::CommandLine(const std::string& program, const std::string& help)
    : _app(std::make_unique<CLI::App>(help, program))
{
    _app->require_subcommand(0, 1); // none is our own sentence, and an unknown one is named in the parser's
    _app->get_formatter()->column_width(kHelpColumn);
}

CommandLine::~CommandLine() = default;

Command CommandLine::root()
{
    return Command(*_app);
}

void CommandLine::run(int argumentCount, char** arguments)
{
    try
    {
        _app->parse(argumentCount, arguments);
    }
    catch (const CLI::Success& request) // for help
    {
        _app->exit(request);
        return;
    }
    catch (const CLI::ParseError& error)
    {
        throw HostError(error.what());
    }
    if (_app->get_subcommands().empty()) throw HostError("A command is required; mvgeo --help lists them.");
}
} // namespace mvgeo::host
