#include "common/TerminalProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace mvgeo::host
{
namespace
{
bool errorsGoToTerminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}
} // namespace

TerminalProgress::TerminalProgress(std::string label) : _label(std::move(label)), _onTerminal(errorsGoToTerminal()) {}

TerminalProgress::~TerminalProgress()
{
    if (!_shown.empty()) std::fputs("\r\x1b[K", stderr);
}

void TerminalProgress::showText(const std::string& text)
{
    if (!_onTerminal || text == _shown) return;
    _shown = text;
    std::fprintf(stderr, "\r\x1b[K%s %s", _label.c_str(), text.c_str());
    std::fflush(stderr);
}

void TerminalProgress::showFraction(double fraction, const std::string& note)
{
    constexpr int kBarLength = 40;
    const int filled = static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * kBarLength));
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100.0);
    showText("[" + std::string(static_cast<std::size_t>(filled), '=') +
             std::string(static_cast<std::size_t>(kBarLength - filled), ' ') + "] " + std::to_string(percent) + " %" +
             (note.empty() ? "" : ", " + note));
}
} // namespace mvgeo::host
