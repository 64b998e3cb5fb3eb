#include "ProgramRunner.h"
#include "TexturePictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#if !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>

namespace
{

/** A terminal that nobody sits at. */
class Terminal
{
public:
    Terminal() : _own(posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (_own < 0 || grantpt(_own) != 0 || unlockpt(_own) != 0) return;
        _programs = open(name(), O_RDWR | O_NOCTTY); // open all the time, so that nothing is lost when a program ends
        fcntl(_own, F_SETFL, O_NONBLOCK);
    }
    ~Terminal()
    {
        if (_programs >= 0) close(_programs);
        if (_own >= 0) close(_own);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] bool isThere() const { return _programs >= 0; }
    [[nodiscard]] const char* name() const { return ptsname(_own); }
    /** What was shown since the last time. */
    [[nodiscard]] std::string text() const
    {
        std::string shown;
        char buffer[4096];
        for (ssize_t count = 0; (count = read(_own, buffer, sizeof(buffer))) > 0;)
            shown.append(buffer, static_cast<std::size_t>(count));
        return shown;
    }

private:
    int _own;
    int _programs = -1;
};

} // namespace

TEST(TextureProgress, IsShownOnATerminalAndWipedInTheEnd)
{
    const Terminal terminal;
    if (!terminal.isThere()) GTEST_SKIP() << "this system gives out no terminals";
    const TempFolder folder;
    const std::string picture = writePictureFile(folder, "a.png", *placePicture(64, 32, GL_RGB));
    const std::string command = quoted(MVGEO_HOST_PROGRAM) + " texture convert " + quoted(picture) + " " +
                                quoted(folder.path("b.png")) + " >" + quoted(folder.path("out")) + " 2>" +
                                quoted(terminal.name());
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string shown = terminal.text();
    const std::string wipe = "\r\x1b[K";
    EXPECT_EQ(shown.rfind(wipe + "reading: [" + std::string(40, ' ') + "] 0 %, " + picture, 0), 0U) << shown;
    EXPECT_THAT(shown, testing::EndsWith(wipe));
}
#endif
