#pragma once

#include <osg/Notify>
#include <osg/ref_ptr>

#include <string>

namespace mvgeo::host
{
/** While it lives, what OSG has to say is kept instead of printed, so that it can become part of a sentence.
 * Notices are dropped. Thread: OSG may speak from any; made and ended on the main one. */
class OsgMessageCapture
{
public:
    OsgMessageCapture();
    ~OsgMessageCapture();
    OsgMessageCapture(const OsgMessageCapture&) = delete;
    OsgMessageCapture& operator=(const OsgMessageCapture&) = delete;

    /** The warnings so far in one line, separated by "; ". */
    [[nodiscard]] std::string warnings() const;
    /** What ends a sentence that says that something failed: ": " and the warnings, or else the other text, if any. */
    [[nodiscard]] std::string reason(const std::string& otherwise = {}) const;

private:
    class Keeper;
    osg::ref_ptr<Keeper> _keeper;
    osg::ref_ptr<osg::NotifyHandler> _before;
};
} // namespace mvgeo::host
