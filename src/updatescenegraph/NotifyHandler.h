#pragma once

#include "support/Mutex.h"
#include "support/QuietOsg.h"

#include <fstream>
#include <string>

/** Writes what OSG's notify stream carries, our own lines among it, to one log file; a line is "[2024-05-17 09:41:03]
 * [WARN] text". The text is written as it comes; OSG's own lines bring a line break, so an empty line follows them.
 *
 * The file is appended to; its folder is not made. If it cannot be opened, everything is dropped without a word.
 * Thread: any; one line is written under a lock. Ownership: OSG's, once installed.
 */
class NotifyHandler : public mvgeo::QuietableHandler
{
public:
    explicit NotifyHandler(const std::string& pathAnsi);

protected:
    ~NotifyHandler() override;

    void write(osg::NotifySeverity severity, const char* message) override;

private:
    mvgeo::Mutex _lineLock;
    std::ofstream _file MVGEO_GUARDED_BY(_lineLock);
};
