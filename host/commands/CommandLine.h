#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace mvgeo::host
{
/** Ends a command about which everything has been said already. */
struct CommandFailed
{
    int exitStatus;
};

/** A handle of an option or argument; its CommandLine owns it. */
class CommandOption
{
public:
    CommandOption& required();
    /** Only together with the other one. */
    CommandOption& needs(const CommandOption& other);
    /** What the help writes in place of the value. */
    CommandOption& typeName(const std::string& name);
    /** The help tells the value that the variable has now. */
    CommandOption& showDefault();
    /** Both ends are allowed. */
    CommandOption& between(int low, int high);
    CommandOption& between(double low, double high);
    /** The help lists them after the type's name. */
    CommandOption& oneOf(const std::vector<std::string>& values);
    /** For a type's name that lists them itself. */
    CommandOption& oneOfTypeName(const std::vector<std::string>& values);

private:
    friend class Command;
    explicit CommandOption(CLI::Option& option) : _option(&option) {}

    CLI::Option* _option;
};

/** A handle of a command; its CommandLine owns it. A name with dashes makes an option, one without an argument by its
 * place. The variables must outlive the CommandLine's run; they change only if the option is given. */
class Command
{
public:
    Command addCommand(const std::string& name, const std::string& help);
    /** It does nothing by itself. */
    void requireCommand();

    CommandOption add(const std::string& name, std::string& value, const std::string& help);
    CommandOption add(const std::string& name, int& value, const std::string& help);
    CommandOption add(const std::string& name, unsigned int& value, const std::string& help);
    CommandOption add(const std::string& name, double& value, const std::string& help);
    CommandOption add(const std::string& name, std::optional<int>& value, const std::string& help);
    CommandOption add(const std::string& name, std::optional<unsigned int>& value, const std::string& help);
    CommandOption add(const std::string& name, std::vector<std::string>& values, const std::string& help);
    CommandOption addFlag(const std::string& name, bool& value, const std::string& help);
    /** `take` gets the text, and throws HostError if it is not what it should be. */
    CommandOption addText(const std::string& name, const std::function<void(const std::string&)>& take,
                          const std::string& help);

    /** The command's work; it may throw HostError and CommandFailed. */
    void onRun(const std::function<void()>& work);

private:
    friend class CommandLine;
    explicit Command(CLI::App& app) : _app(&app) {}

    CLI::App* _app;
};

/** The program's commands and options. No other source includes the parser, which takes the compiler long. */
class CommandLine
{
public:
    CommandLine(const std::string& program, const std::string& help);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /** What holds the program's commands; one of them is required. */
    Command root();

    /** Runs the command that the arguments name, or prints the help that they ask for. Throws HostError if they cannot
     * be understood, and what the command throws. */
    void run(int argumentCount, char** arguments);

private:
    std::unique_ptr<CLI::App> _app;
};
} // namespace mvgeo::host
