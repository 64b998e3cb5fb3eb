#include "support/QuietOsg.h"

#include "support/Mutex.h"

#include <osg/observer_ptr>
#include <osg/ref_ptr>

namespace mvgeo
{

namespace
{

thread_local int depth = 0;

/** Stands before a handler that is not ours. */
class ForwardingHandler : public QuietableHandler
{
public:
    explicit ForwardingHandler(osg::NotifyHandler& next) : _next(&next) {}

protected:
    ~ForwardingHandler() override = default;

    void write(osg::NotifySeverity severity, const char* message) override { _next->notify(severity, message); }

private:
    osg::ref_ptr<osg::NotifyHandler> _next; // a thread may be inside it while this one takes its place
};

/** Where our handler stands in OSG, and whose place it took. */
class HandlerPlace
{
public:
    HandlerPlace() { osg::getNotifyHandler(); } // makes OSG's stream, which so outlives this
    ~HandlerPlace()
    {
        if (holds(osg::getNotifyHandler())) osg::setNotifyHandler(_before);
    }
    HandlerPlace(const HandlerPlace&) = delete;
    HandlerPlace& operator=(const HandlerPlace&) = delete;

    void take(QuietableHandler& handler)
    {
        const Lock lock(_lock);
        takeLocked(handler);
    }
    /** Puts one of ours before a handler that is not. */
    void takeBeforeOthers()
    {
        const Lock lock(_lock);
        osg::NotifyHandler* installed = osg::getNotifyHandler();
        if (!installed || dynamic_cast<QuietableHandler*>(installed)) return;
        const osg::ref_ptr<ForwardingHandler> handler = new ForwardingHandler(*installed);
        takeLocked(*handler);
    }

private:
    [[nodiscard]] bool holds(const osg::NotifyHandler* installed) const MVGEO_REQUIRES(_lock)
    {
        return installed && _ours.get() == installed;
    }
    void takeLocked(QuietableHandler& handler) MVGEO_REQUIRES(_lock)
    {
        osg::NotifyHandler* installed = osg::getNotifyHandler();
        if (!holds(installed)) _before = installed;
        _ours = &handler;
        osg::setNotifyHandler(&handler);
    }

    Mutex _lock;
    osg::observer_ptr<osg::NotifyHandler> _ours MVGEO_GUARDED_BY(_lock);
    osg::ref_ptr<osg::NotifyHandler> _before MVGEO_GUARDED_BY(_lock);
};

HandlerPlace& handlerPlace()
{
    static HandlerPlace place;
    return place;
}

} // namespace

void installHandler(QuietableHandler& handler)
{
    handlerPlace().take(handler);
}

QuietOsg::QuietOsg()
{
    handlerPlace().takeBeforeOthers();
    ++depth;
}

QuietOsg::~QuietOsg()
{
    --depth;
}

bool QuietOsg::isActive()
{
    return depth > 0;
}

} // namespace mvgeo
