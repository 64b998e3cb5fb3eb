#include "texture/OsgMessageCapture.h"

#include "common/Mutex.h"

#include <algorithm>

namespace mvgeo::host
{
class OsgMessageCapture::Keeper : public osg::NotifyHandler
{
public:
    void notify(osg::NotifySeverity severity, const char* message) override
    {
        if (severity > osg::WARN) return;
        const Lock lock(_lock);
        _text += message;
    }

    std::string text() const
    {
        const Lock lock(_lock);
        return _text;
    }

protected:
    ~Keeper() override = default;

private:
    mutable Mutex _lock;
    std::string _text MVGEO_GUARDED_BY(_lock);
};

OsgMessageCapture::OsgMessageCapture() : _keeper(new Keeper), _before(osg::getNotifyHandler())
{
    osg::setNotifyHandler(_keeper);
}

OsgMessageCapture::~OsgMessageCapture()
{
    osg::setNotifyHandler(_before);
}

std::string OsgMessageCapture::warnings() const
{
    std::string line;
    for (const char c : _keeper->text())
        line += c == '\n' ? std::string("; ") : std::string(1, c);
    line.erase(std::min(line.find_last_not_of("; ") + 1, line.size()));
    return line;
}

std::string OsgMessageCapture::reason(const std::string& otherwise) const
{
    const std::string line = warnings().empty() ? otherwise : warnings();
    return line.empty() ? line : ": " + line;
}
} // namespace mvgeo::host
