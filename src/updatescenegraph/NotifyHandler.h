#pragma once

#include "support/Mutex.h"
#include "support/QuietOsg.h"

#include <fstream>
#include <string>

/** Writes what the toolkit's notify stream carries, our own lines among it, to one log file:
 *  "[2024-05-17 09:41:03] [WARN] text". The text is written as it comes; the toolkit's lines bring their own line
 * break, so an empty line follows them.
 *
 *  The file is appended to; its folder is not made. If it cannot be opened, everything is dropped without a word.
 *  Thread: any; one line is written under a lock. Ownership: the toolkit's, once installed.
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
