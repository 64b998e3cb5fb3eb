#pragma once

#include "support/Mutex.h"
#include "support/QuietOsg.h"

#include <fstream>
#include <string>

/** Writes what OSG's notify stream carries, our own lines among it, to one log file; a line is "[2024-05-17 09:41:03]
 * [WARN] text". The text is written as it comes; OSG's own lines bring a line break, so an empty line follows them.
 *
 * The file is appended to; its folder is not made. If it cannot be opened, everything is dropped without a word.
 *
 * A line is in the file when notify() returns, unless another thread is writing just then: that one writes it too.
 * Whoever comes out of OSG's stream must not wait, because as long as it is in there, what other threads say runs into
 * its line; our own lines do wait, in flush().
 * Thread: any. Ownership: OSG's, once installed.
 */
class NotifyHandler : public mvgeo::QuietableHandler
{
public:
    explicit NotifyHandler(const std::string& pathAnsi);

    void flush() override;

protected:
    ~NotifyHandler() override;

    void write(osg::NotifySeverity severity, const char* message) override;

private:
    [[nodiscard]] bool isAnyWaiting();
    void writeWaiting() MVGEO_REQUIRES(_fileLock);
    void writeUnlessBusy();

    mvgeo::Mutex _waitingLock; // never held while the file is written
    std::string _waiting MVGEO_GUARDED_BY(_waitingLock);
    mvgeo::Mutex _fileLock;
    std::ofstream _file MVGEO_GUARDED_BY(_fileLock);
    const bool _isOpen;
};
