#include "support/QuietOsg.h"

#include <osg/ref_ptr>

#include <mutex>

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

void installQuietableHandler()
{
    static std::mutex lock;
    const std::lock_guard<std::mutex> guard(lock);
    osg::NotifyHandler* installed = osg::getNotifyHandler();
    if (!installed || dynamic_cast<QuietableHandler*>(installed)) return;
    osg::setNotifyHandler(new ForwardingHandler(*installed));
}

} // namespace

QuietOsg::QuietOsg()
{
    installQuietableHandler();
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
