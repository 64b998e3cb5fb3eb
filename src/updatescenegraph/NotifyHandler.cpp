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

NotifyHandler::NotifyHandler(const std::string& pathAnsi) : _file(pathAnsi, std::ios::out | std::ios::app) {}

NotifyHandler::~NotifyHandler() = default;

void NotifyHandler::write(osg::NotifySeverity severity, const char* message)
{
    const auto tag = static_cast<std::size_t>(severity);
    if (!message || *message == '\0' || tag >= kTags.size()) return;

    const mvgeo::Lock lock(_lineLock);
    if (!_file.is_open()) return;
    _file << '[' << timeStamp() << "] " << kTags[tag] << message << std::endl; // flushed: a crash loses no line
}
