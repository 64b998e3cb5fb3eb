#pragma once

#include <osg/Notify>
#include <osg/ref_ptr>

#include <string>

namespace mvgeo::host
{
/** While it lives, what the toolkit has to say is kept instead of printed, so that it can become part of a sentence.
 *  Notices are dropped. Thread: the toolkit may speak from any; made and ended on the main one. */
class ToolkitMessages
{
public:
    ToolkitMessages();
    ~ToolkitMessages();
    ToolkitMessages(const ToolkitMessages&) = delete;
    ToolkitMessages& operator=(const ToolkitMessages&) = delete;

    /** The warnings so far in one line, separated by "; ". */
    [[nodiscard]] std::string warnings() const;
    /** ": " and the warnings, or nothing: what ends a sentence that says that something failed. */
    [[nodiscard]] std::string reason() const;

private:
    class Keeper;
    osg::ref_ptr<Keeper> _keeper;
    osg::ref_ptr<osg::NotifyHandler> _before;
};
} // namespace mvgeo::host
