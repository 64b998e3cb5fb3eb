#pragma once

#include <string>

namespace mvgeo::host
{
/** One line on the terminal that is written over while work goes on, and wiped when it ends. Says nothing where
 * standard error is not a terminal. */
class TerminalProgress
{
public:
    explicit TerminalProgress(std::string label);
    ~TerminalProgress();
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void showText(const std::string& text);
    /** @param fraction  0 to 1, as a bar
     * @param note  what stands behind it */
    void showFraction(double fraction, const std::string& note = {});

private:
    std::string _label;
    std::string _shown;
    bool _onTerminal;
};
} // namespace mvgeo::host
