#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace recording
{

/// An open file, closed by the destructor. Reads and writes whole ranges. Several threads may read at once.
class OwnedFile
{
public:
    enum class For
    {
        Reading,
        Writing ///< a new file
    };

    /// @throws Error it cannot be opened, or exists and is to be new
    OwnedFile(std::filesystem::path path, For use);
    OwnedFile(const OwnedFile &) = delete;
    OwnedFile &operator=(const OwnedFile &) = delete;
    ~OwnedFile();

    const std::filesystem::path &Path() const { return m_path; }
    /// @throws Error it cannot be asked
    uint64_t Size() const;

    /// @throws Error fewer bytes are there, or they cannot be read
    void Read(uint64_t offset, void *data, size_t size) const;
    std::string Read(uint64_t offset, size_t size) const;
    /// @throws Error the disk is full, or fails
    void Write(uint64_t offset, const void *data, size_t size);

    /// Reserves room on the disk from this offset on, without changing the file's size. Ignores a failure:
    /// the write itself will report it.
    void Reserve(uint64_t offset, uint64_t size);
    /// Gives back the room behind this size.
    void Trim(uint64_t size);

private:
    [[noreturn]] void Fail(const char *what) const;

    std::filesystem::path m_path;
    int m_descriptor;
};

} // namespace recording
