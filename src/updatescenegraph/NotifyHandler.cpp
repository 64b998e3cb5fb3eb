#include "updatescenegraph/NotifyHandler.h"

#include "platform/Environment.h"

#include <array>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace
{

constexpr std::array<const char*, 7> kTags = {"[ALWAYS] ", "[FATAL] ",      "[WARN] ",    "[NOTICE] ",
                                              "[INFO] ",   "[DEBUG_INFO] ", "[DEBUG_FP] "};

std::string timeStamp()
{
    const std::tm now = mvgeo::platform::localTime(std::time(nullptr));
    std::ostringstream text;
    text << std::put_time(&now, "%Y-%m-%d %H:%M:%S");
    return text.str();
}

} // namespace

NotifyHandler::NotifyHandler(const std::string& pathAnsi)
    : _file(pathAnsi, std::ios::out | std::ios::app), _isOpen(_file.is_open())
{
}

NotifyHandler::~NotifyHandler() = default;

void NotifyHandler::write(osg::NotifySeverity severity, const char* message)
{
    const auto tag = static_cast<std::size_t>(severity);
    if (!_isOpen || !message || tag >= kTags.size()) return;
    const std::string text = message; // before anything else: it may not stay as it is
    if (text.empty()) return;

    const std::string line = '[' + timeStamp() + "] " + kTags[tag] + text + '\n';
    {
        const mvgeo::Lock lock(_waitingLock);
        _waiting += line;
    }
    writeUnlessBusy();
}

void NotifyHandler::flush()
{
    if (!_isOpen) return;
    {
        const mvgeo::Lock lock(_fileLock); // whoever had it may have written our line
        writeWaiting();
    }
    writeUnlessBusy();
}

bool NotifyHandler::isAnyWaiting()
{
    const mvgeo::Lock lock(_waitingLock);
    return !_waiting.empty();
}

void NotifyHandler::writeWaiting()
{
    std::string lines;
    {
        const mvgeo::Lock lock(_waitingLock);
        lines.swap(_waiting);
    }
    if (!lines.empty()) _file << lines << std::flush; // a crash loses no line
}

/** Whoever has the file looks again when it is done, so that no line stays behind. */
void NotifyHandler::writeUnlessBusy()
{
    while (isAnyWaiting() && _fileLock.try_lock())
    {
        writeWaiting();
        _fileLock.unlock();
    }
}
