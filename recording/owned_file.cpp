#include "recording/owned_file.h"

#include "recording/error.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace recording
{

OwnedFile::OwnedFile(std::filesystem::path path, For use)
    : m_path(std::move(path)),
      m_descriptor(use == For::Reading ? open(m_path.c_str(), O_RDONLY | O_CLOEXEC)
                                       : open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666))
{
    if (m_descriptor < 0)
    {
        Fail(use == For::Reading ? "cannot be opened" : "cannot be made");
    }
}

OwnedFile::~OwnedFile()
{
    close(m_descriptor);
}

uint64_t OwnedFile::Size() const
{
    struct stat status
    {
    };
    if (fstat(m_descriptor, &status) != 0)
    {
        Fail("cannot be asked for its size");
    }
    if (!S_ISREG(status.st_mode))
    {
        throw Error("{} is no file", m_path.string());
    }
    return static_cast<uint64_t>(status.st_size);
}

void OwnedFile::Read(uint64_t offset, void *data, size_t size) const
{
    auto *out = static_cast<char *>(data);
    while (size > 0)
    {
        const auto count = pread(m_descriptor, out, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count < 0)
        {
            Fail("cannot be read");
        }
        if (count == 0)
        {
            throw Error("{} ends at byte {}, {} bytes are missing", m_path.string(), offset, size);
        }
        out += count;
        offset += static_cast<uint64_t>(count);
        size -= static_cast<size_t>(count);
    }
}

std::string OwnedFile::Read(uint64_t offset, size_t size) const
{
    std::string bytes(size, '\0');
    Read(offset, bytes.data(), size);
    return bytes;
}

void OwnedFile::Write(uint64_t offset, const void *data, size_t size)
{
    const auto *in = static_cast<const char *>(data);
    while (size > 0)
    {
        const auto count = pwrite(m_descriptor, in, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            errno = count < 0 ? errno : EIO; // no bytes, and no reason
            Fail("cannot be written");
        }
        in += count;
        offset += static_cast<uint64_t>(count);
        size -= static_cast<size_t>(count);
    }
}

void OwnedFile::Reserve(uint64_t offset, uint64_t size)
{
    // Not posix_fallocate, which writes to the file where the file system cannot reserve.
    [[maybe_unused]] const int ignored =
        fallocate(m_descriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset), static_cast<off_t>(size));
}

void OwnedFile::Trim(uint64_t size)
{
    if (ftruncate(m_descriptor, static_cast<off_t>(size)) != 0)
    {
        Fail("cannot be closed");
    }
}

void OwnedFile::Fail(const char *what) const
{
    const bool isFull = errno == ENOSPC || errno == EDQUOT;
    throw Error("{} {}: {}", m_path.string(), what, isFull ? "the disk is full" : std::strerror(errno));
}

} // namespace recording
