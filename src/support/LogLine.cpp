#include "support/LogLine.h"

#include "support/QuietOsg.h"

#include <osg/ref_ptr>

namespace mvgeo
{

LogLine::LogLine(osg::NotifySeverity severity, const char* modulePath, int line) : _severity(severity)
{
    _text << modulePath << ' ' << line;
}

LogLine::~LogLine()
{
    // Not through OSG's stream: it has one buffer for all threads and does not guard it.
    const osg::ref_ptr<osg::NotifyHandler> handler = osg::getNotifyHandler();
    if (!handler) return;
    _text << '\n'; // as OSG's own lines end
    handler->notify(_severity, _text.str().c_str());
    if (auto* ours = dynamic_cast<QuietableHandler*>(handler.get())) ours->flush();
}

} // namespace mvgeo
