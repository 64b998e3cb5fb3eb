#pragma once

#include <osg/Notify>

namespace mvgeo
{

/** Keeps what OSG says on this thread out of every log while it lives. They may be nested.
 *
 * OSG knows one handler for all threads. The first object finds out whether the installed one is ours; before one that
 * is not it puts one of ours, for good, which hands on what other threads say.
 * Thread: the one that made it.
 */
class QuietOsg
{
public:
    QuietOsg();
    ~QuietOsg();
    QuietOsg(const QuietOsg&) = delete;
    QuietOsg& operator=(const QuietOsg&) = delete;

    /** Whether this thread is to be quiet. */
    [[nodiscard]] static bool isActive();
};

/** A log handler that does not hear threads that are to be quiet. */
class QuietableHandler : public osg::NotifyHandler
{
public:
    void notify(osg::NotifySeverity severity, const char* message) final
    {
        if (!QuietOsg::isActive()) write(severity, message);
    }

protected:
    ~QuietableHandler() override = default;

    /** @param message  may be null. Thread: any, several at once. */
    virtual void write(osg::NotifySeverity severity, const char* message) = 0;
};

} // namespace mvgeo
