#pragma once

#include "updatescenegraph/NotifyHandler.h"

#include <osg/ref_ptr>

#include <string>
#include <vector>

/** Keeps what goes to OSG's notify stream while it lives; afterwards the earlier handler and level are back.
 *
 * Make it before the model: the model then takes it for its own log handler and installs none.
 * Thread: any; messages come from the database threads too.
 */
class LogRecorder
{
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    struct Line
    {
        osg::NotifySeverity severity;
        std::string text; // without the line break at its end
    };

    [[nodiscard]] std::vector<Line> lines() const;
    /** Number of lines of this severity that contain the text. */
    [[nodiscard]] int count(osg::NotifySeverity severity, const std::string& text) const;
    /** Number of lines of any severity that contain the text. */
    [[nodiscard]] int count(const std::string& text) const;
    void clear();

private:
    class RecordingHandler;

    osg::ref_ptr<RecordingHandler> _handler;
    osg::ref_ptr<osg::NotifyHandler> _handlerBefore;
    osg::NotifySeverity _levelBefore;
};
