#include <osg/Notify>
#include <osgDB/DynamicLibrary>
#include <osgDB/Registry>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// This program does not contain the library: it loads a module that does, and unloads it again.

namespace
{

/** The host's own. */
class HostHandler : public osg::NotifyHandler
{
public:
    void notify(osg::NotifySeverity, const char* message) override { text += message; }
    std::string text;

protected:
    ~HostHandler() override = default;
};

/** Whether the library is in the process: it registers a reader of its terrain tiles. */
bool isLoaded()
{
    const osgDB::Registry::ReaderWriterList& readers = osgDB::Registry::instance()->getReaderWriterList();
    return std::any_of(readers.begin(), readers.end(),
                       [](const osg::ref_ptr<osgDB::ReaderWriter>& reader)
                       { return reader->acceptsExtension("3dimg"); });
}

struct Unload : public testing::Test
{
    osg::ref_ptr<HostHandler> handler = new HostHandler;
    osg::ref_ptr<osgDB::DynamicLibrary> module;

    void SetUp() override
    {
        osg::setNotifyHandler(handler);
        module = osgDB::DynamicLibrary::loadLibrary(MVGEO_PROBE);
        ASSERT_TRUE(module) << handler->text;
        ASSERT_TRUE(isLoaded());
    }
    void call(const std::string& function)
    {
        auto* address = reinterpret_cast<void (*)()>(module->getProcAddress(function));
        ASSERT_NE(address, nullptr) << function;
        address();
    }
    void unload()
    {
        module = nullptr;
        if (isLoaded()) GTEST_SKIP() << "this system keeps libraries loaded";
    }
    /** What OSG says now reaches this handler. */
    static void expectHeardBy(const HostHandler& host)
    {
        ASSERT_EQ(osg::getNotifyHandler(), &host); // else the next line would call code that is gone
        osg::notify(osg::WARN) << "after" << std::endl;
        EXPECT_THAT(host.text, testing::HasSubstr("after\n"));
    }
};

} // namespace

TEST_F(Unload, PutsTheHandlerBackThatAModelReplaced)
{
    call("makeAModel");
    EXPECT_NE(osg::getNotifyHandler(), handler);
    unload();
    expectHeardBy(*handler);
}

TEST_F(Unload, PutsTheHandlerBackThatAQueryReplaced)
{
    call("readATile");
    EXPECT_NE(osg::getNotifyHandler(), handler);
    unload();
    expectHeardBy(*handler);
}

TEST_F(Unload, PutsTheHandlerBackThatAQueryAndThenAModelReplaced)
{
    call("readATile");
    call("makeAModel");
    unload();
    expectHeardBy(*handler);
}

TEST_F(Unload, LeavesTheHandlerThatTheHostHasSetInTheMeantime)
{
    call("makeAModel");
    const osg::ref_ptr<HostHandler> later = new HostHandler;
    osg::setNotifyHandler(later);
    unload();
    expectHeardBy(*later);
}

// The second handler of the host is the one before the last of ours.
TEST_F(Unload, PutsTheHandlerBackThatTheHostHasSetBetweenTwoOfOurs)
{
    call("readATile");
    const osg::ref_ptr<HostHandler> later = new HostHandler;
    osg::setNotifyHandler(later);
    call("makeAModel");
    unload();
    expectHeardBy(*later);
}

TEST_F(Unload, FindsTheHandlerUntouchedByAQuestionAboutPaths)
{
    call("askForAFileName");
    EXPECT_EQ(osg::getNotifyHandler(), handler);
    unload();
    expectHeardBy(*handler);
}
