#include "platform/NewFile.h"

#include "platform/windows/WindowsApi.h"

#include <algorithm>

namespace mvgeo::platform
{
namespace
{

bool writeAll(HANDLE file, const char* bytes, std::size_t size)
{
    constexpr std::size_t kMost = std::size_t{1} << 30; // a call takes 32 bits
    while (size > 0)
    {
        DWORD written = 0;
        const auto part = static_cast<DWORD>(std::min(size, kMost));
        if (!WriteFile(file, bytes, part, &written, nullptr) || written == 0) return false;
        bytes += written;
        size -= written;
    }
    return true;
}

} // namespace

NewFile writeNewFile(const std::filesystem::path& path, const char* bytes, std::size_t size)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_EXISTS ? NewFile::taken : NewFile::failed;
    const bool isWritten = writeAll(file, bytes, size);
    if (CloseHandle(file) && isWritten) return NewFile::written;
    DeleteFileW(path.c_str());
    return NewFile::failed;
}

} // namespace mvgeo::platform
