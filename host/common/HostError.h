#pragma once

#include <stdexcept>
#include <string>

namespace mvgeo::host
{
/** Ends a command. The text is the one sentence that the user reads; `exitStatus` is what the shell gets. */
class HostError : public std::runtime_error
{
public:
    explicit HostError(const std::string& sentence, int exitStatus = 1)
        : std::runtime_error(sentence), _exitStatus(exitStatus)
    {
    }

    [[nodiscard]] int exitStatus() const { return _exitStatus; }

private:
    int _exitStatus;
};

constexpr int kExitNoDisplay = 2;
constexpr int kExitInterrupted = 130; // as shells number it
} // namespace mvgeo::host
