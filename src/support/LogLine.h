#pragma once

#include <osg/Notify>

#include <sstream>

namespace mvgeo
{

/** One line of the log: the module's source path, a blank, the line number and at once the text. The whole line is
 * handed to OSG's notify handler in one piece when the object ends, and then is in the log file. Thread: any. */
class LogLine
{
public:
    LogLine(osg::NotifySeverity severity, const char* modulePath, int line);
    ~LogLine();
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    std::ostream& stream() { return _text; }

private:
    osg::NotifySeverity _severity;
    std::ostringstream _text;
};

/** Makes both outcomes of the macro below expressions of type void; "&" binds looser than "<<". */
struct LogStatement
{
    void operator&(std::ostream&) const {}
};

} // namespace mvgeo

/** MVGEO_LOG(WARN) << "text"; costs one comparison when the severity is filtered out. MVGEO_MODULE_PATH comes from
 * CMake. */
#define MVGEO_LOG_AT(severity, line)                                                                                   \
    !osg::isNotifyEnabled(osg::severity)                                                                               \
        ? (void)0                                                                                                      \
        : mvgeo::LogStatement() & mvgeo::LogLine(osg::severity, MVGEO_MODULE_PATH, line).stream()

#define MVGEO_LOG(severity) MVGEO_LOG_AT(severity, __LINE__)
