#include "support/LogLine.h"

#include <mutex>

namespace mvgeo
{

LogLine::LogLine(osg::NotifySeverity severity, const char* modulePath, int line) : _severity(severity)
{
    _text << modulePath << ' ' << line;
}

LogLine::~LogLine()
{
    // OSG has one notify stream for all threads and does not guard it: our own lines at least never meet there.
    static std::mutex streamLock;
    const std::lock_guard<std::mutex> lock(streamLock);
    osg::notify(_severity) << _text.str() << std::endl;
}

} // namespace mvgeo
