#include "mvosggeomesh/TextureReading.h"

#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include <omp.h>

namespace
{

constexpr int kLeastThreads = 8;

/** Reads "<any>.meeting": each reader waits until eight of them are there, ten seconds at most. */
class MeetingReader : public osgDB::ReaderWriter
{
public:
    MeetingReader()
    {
        supportsExtension("meeting", "test");
        osgDB::Registry::instance()->addReaderWriter(this);
    }
    void leave() { osgDB::Registry::instance()->removeReaderWriter(this); }

    ReadResult readImage(const std::string& fileName, const osgDB::Options*) const override
    {
        if (osgDB::getFileExtension(fileName) != "meeting") return ReadResult::FILE_NOT_HANDLED;
        std::unique_lock<std::mutex> lock(_mutex);
        _threads.insert(std::this_thread::get_id());
        _met.notify_all();
        _met.wait_for(lock, std::chrono::seconds(10), [this] { return _threads.size() >= kLeastThreads; });
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE);
        return image.get();
    }

    [[nodiscard]] std::size_t threadCount() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _threads.size();
    }

private:
    ~MeetingReader() override = default;

    mutable std::mutex _mutex;
    mutable std::condition_variable _met;
    mutable std::set<std::thread::id> _threads;
};

} // namespace

// Also on a machine of two cores, and for a host that has set fewer.
TEST(TextureThreads, AreAtLeastEightAndTheHostsNumberStays)
{
    constexpr int kOfTheHost = 3;
    const int before = omp_get_max_threads();
    omp_set_num_threads(kOfTheHost);
    const osg::ref_ptr<MeetingReader> reader = new MeetingReader;
    std::vector<mvgeo::TextureWorkItem> items(kLeastThreads);
    for (mvgeo::TextureWorkItem& item : items)
    {
        item.path = "a.meeting";
        item.target = new osg::Image;
    }
    mvgeo::readTextures(items);
    EXPECT_EQ(reader->threadCount(), static_cast<std::size_t>(kLeastThreads));
    for (const mvgeo::TextureWorkItem& item : items)
        EXPECT_EQ(item.target->s(), 1);
    EXPECT_EQ(omp_get_max_threads(), kOfTheHost);

    mvgeo::readTextures({});
    EXPECT_EQ(omp_get_max_threads(), kOfTheHost);
    omp_set_num_threads(before);
    reader->leave();
}
