#pragma once

#include <osg/Notify>

namespace mvgeo
{

/** Keeps what OSG says on this thread out of every log while it lives. They may be nested.
 *
 * OSG knows one handler for all threads. The first object finds out whether the installed one is ours; before one that
 * is not it puts one of ours, which hands on what other threads say (installHandler).
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

    /** Returns when what this thread has said is where it is to be. Never called from inside OSG's stream. */
    virtual void flush() {}

protected:
    ~QuietableHandler() override = default;

    /** @param message  may be null; it may lie in the one buffer of OSG's stream, to which other threads write whenever
     * they like, so it is copied at once and nobody is waited for. Thread: any, several at once. */
    virtual void write(osg::NotifySeverity severity, const char* message) = 0;
};

/** Makes this OSG's handler. When the library is unloaded, the handler before the first of ours is put back, unless
 * somebody else has put another in the meantime: OSG must not call code that is gone. Thread: any. */
void installHandler(QuietableHandler& handler);

} // namespace mvgeo
