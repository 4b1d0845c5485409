#include "pictures/file_writing.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

namespace gentlctl
{

namespace fs = std::filesystem;

namespace
{

std::string Reason(int error)
{
    return error == ENOSPC || error == EDQUOT ? "the disk is full" : std::generic_category().message(error);
}

/// The path under which a file is written until it is complete.
fs::path Unfinished(const fs::path &file)
{
    return file.string() + ".part";
}

/// False with the reason in errno.
bool WriteAll(int descriptor, const char *data, size_t size)
{
    while (size > 0)
    {
        const auto written = write(descriptor, data, size);
        if (written < 0 && errno != EINTR)
        {
            return false;
        }
        const auto count = static_cast<size_t>(std::max<ssize_t>(written, 0));
        data += count;
        size -= count;
    }
    return true;
}

/// False with the reason in errno.
bool WriteFile(const fs::path &file, const void *data, size_t size)
{
    constexpr mode_t asTheUserAllows = 0666;
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, asTheUserAllows);
    if (descriptor < 0)
    {
        return false;
    }
    const bool written = WriteAll(descriptor, static_cast<const char *>(data), size);
    const int error = errno;
    // Some file systems report a full disk only on close.
    const bool closed = close(descriptor) == 0;
    errno = written ? errno : error;
    return written && closed;
}

} // namespace

void WriteBytes(const fs::path &file, const void *data, size_t size)
{
    std::error_code ignored;
    const auto kind = fs::symlink_status(file, ignored).type();
    const bool isOwnFile = kind == fs::file_type::not_found || kind == fs::file_type::regular;
    const auto written = isOwnFile ? Unfinished(file) : file;
    if (WriteFile(written, data, size) && (!isOwnFile || rename(written.c_str(), file.c_str()) == 0))
    {
        return;
    }
    const auto reason = Reason(errno);
    if (isOwnFile)
    {
        unlink(written.c_str());
    }
    throw std::runtime_error(fmt::format("Cannot write {}: {}", file.string(), reason));
}

void WriteBytes(int descriptor, const void *data, size_t size)
{
    if (!WriteAll(descriptor, static_cast<const char *>(data), size))
    {
        throw std::system_error(errno, std::generic_category(), "Cannot write");
    }
}

void MakeFolder(const fs::path &folder)
{
    const auto failure = [&folder](const char *what, const std::string &reason)
    {
        return std::runtime_error(fmt::format("Cannot {} the folder {}: {}. Choose another one with --output",
                                              what, folder.string(), reason));
    };
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
    {
        throw failure("make", error.message());
    }
    const auto probe = folder / fmt::format(".gentlctl-{}", getpid());
    if (!WriteFile(probe, nullptr, 0))
    {
        throw failure("write into", Reason(errno));
    }
    unlink(probe.c_str());
}

} // namespace gentlctl
