#include "platform/NewFile.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace mvgeo::platform
{
namespace
{

bool writeAll(int file, const char* bytes, std::size_t size)
{
    while (size > 0)
    {
        const ssize_t written = write(file, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

NewFile writeNewFile(const std::filesystem::path& path, const char* bytes, std::size_t size)
{
    constexpr mode_t kForAll = 0666; // less what the process's mask takes away
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kForAll);
    if (file < 0) return errno == EEXIST ? NewFile::taken : NewFile::failed;
    const bool isWritten = writeAll(file, bytes, size);
    if (close(file) == 0 && isWritten) return NewFile::written; // some file systems say only now that there is no room
    unlink(path.c_str());
    return NewFile::failed;
}

} // namespace mvgeo::platform
