#pragma once

#include "support/LogLine.h"

#include <sstream>
#include <string>

namespace mvgeo
{

/** One line of OSG's log, as a plug-in writes it: its own prefix instead of a source path. It reaches the log in one
 * piece when the object ends. Thread: any. */
class KtxLog
{
public:
    explicit KtxLog(osg::NotifySeverity severity) : _line(severity, "", 0)
    {
        _line.stream().seekp(0); // over the path and number that other lines begin with; the prefix is longer
        _line.stream() << "[LoaderKTX] ";
    }

    template <typename Value>
    KtxLog& operator<<(const Value& value)
    {
        _line.stream() << value;
        return *this;
    }

private:
    LogLine _line;
};

/** An OpenGL enumeration value, as the headers write it. */
[[nodiscard]] inline std::string hexText(unsigned int value)
{
    std::ostringstream text;
    text << "0x" << std::hex << value;
    return text.str();
}

} // namespace mvgeo
