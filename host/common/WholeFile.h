#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mvgeo::host
{
// Paths are UTF-8.

/** The bytes of a file, or its first `most`; empty, with the reason in errno, if it cannot be read. */
[[nodiscard]] std::optional<std::string> readWholeFile(const std::string& path, std::uintmax_t most = UINTMAX_MAX);

/** Bytes written, or what went wrong in one sentence with the path. */
struct WriteResult
{
    std::string error;
    unsigned long long bytes = 0;

    [[nodiscard]] bool ok() const { return error.empty(); }
};

/** Writes under a temporary name of its own in the same folder and renames, so that nobody ever finds half a file,
 * however many programs write it. Thread: any. */
[[nodiscard]] WriteResult writeWholeFile(std::string_view content, const std::string& path);

/** The same for a command, which ends if it fails: throws HostError.
 * @param what  the content's name in the sentence: "picture" */
void saveFile(std::string_view content, const std::string& path, const std::string& what);

/** Asked before long work begins: throws HostError unless a file can be put there, because the folder exists and
 * nothing but a file would be replaced. */
void checkOutputPath(const std::string& path, const std::string& what);

/** Makes the folder and its parents. Throws HostError. */
void makeFolder(const std::string& folder);
} // namespace mvgeo::host
