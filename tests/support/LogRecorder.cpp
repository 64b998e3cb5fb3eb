#include "support/LogRecorder.h"

#include "support/Mutex.h"

#include <algorithm>

class LogRecorder::RecordingHandler : public ::NotifyHandler
{
public:
    RecordingHandler() : ::NotifyHandler(std::string()) {}

    mvgeo::Mutex mutex;
    std::vector<Line> lines MVGEO_GUARDED_BY(mutex);

protected:
    ~RecordingHandler() override = default;

    void write(osg::NotifySeverity severity, const char* message) override
    {
        // OSG sends an empty message whenever the severity changes; the log leaves those out too.
        std::string text = message ? message : "";
        if (text.empty()) return;
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        const mvgeo::Lock lock(mutex);
        lines.push_back({severity, text});
    }
};

LogRecorder::LogRecorder()
    : _handler(new RecordingHandler), _handlerBefore(osg::getNotifyHandler()), _levelBefore(osg::getNotifyLevel())
{
    osg::setNotifyHandler(_handler);
    osg::setNotifyLevel(osg::NOTICE);
}

LogRecorder::~LogRecorder()
{
    osg::setNotifyHandler(_handlerBefore);
    osg::setNotifyLevel(_levelBefore);
}

std::vector<LogRecorder::Line> LogRecorder::lines() const
{
    const mvgeo::Lock lock(_handler->mutex);
    return _handler->lines;
}

int LogRecorder::count(osg::NotifySeverity severity, const std::string& text) const
{
    const std::vector<Line> all = lines();
    return static_cast<int>(std::count_if(
        all.begin(), all.end(),
        [&](const Line& line) { return line.severity == severity && line.text.find(text) != std::string::npos; }));
}

int LogRecorder::count(const std::string& text) const
{
    const std::vector<Line> all = lines();
    return static_cast<int>(std::count_if(all.begin(), all.end(),
                                          [&](const Line& line) { return line.text.find(text) != std::string::npos; }));
}

void LogRecorder::clear()
{
    const mvgeo::Lock lock(_handler->mutex);
    _handler->lines.clear();
}
