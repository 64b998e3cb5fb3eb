#pragma once

namespace mvgeo::host
{
/** While one lives, Ctrl-C and a polite request to end are noted instead of ending the process, so that work can stop
 * at a good place. One at a time. */
class Interruption
{
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    [[nodiscard]] static bool isRequested();

private:
    using Handler = void (*)(int);
    Handler _oldInterrupt;
    Handler _oldTerminate;
};
} // namespace mvgeo::host
