#include "common/Interruption.h"

#include <csignal>

namespace mvgeo::host
{
namespace
{
volatile std::sig_atomic_t requested = 0;

/** Whoever does not want to wait asks a second time. */
void note(int signal)
{
    requested = 1;
    std::signal(signal, SIG_DFL);
}
} // namespace

Interruption::Interruption()
{
    requested = 0;
    _oldInterrupt = std::signal(SIGINT, note);
    _oldTerminate = std::signal(SIGTERM, note);
}

Interruption::~Interruption()
{
    if (_oldInterrupt != SIG_ERR) std::signal(SIGINT, _oldInterrupt);
    if (_oldTerminate != SIG_ERR) std::signal(SIGTERM, _oldTerminate);
}

bool Interruption::isRequested()
{
    return requested != 0;
}
} // namespace mvgeo::host
