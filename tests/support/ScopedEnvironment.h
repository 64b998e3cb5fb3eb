#pragma once

#include <optional>
#include <string>

/** Sets an environment variable, or removes it, and puts the old state back at the end. Not while other threads run
 * that read the environment. */
class ScopedEnvironment
{
public:
    /** @param value nothing removes the variable */
    ScopedEnvironment(std::string name, const std::optional<std::string>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string _name;
    std::optional<std::string> _before;
};
