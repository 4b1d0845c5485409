#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include <sys/mman.h>
#include <unistd.h>

namespace tarn::vision
{

/// Memory between two guard pages. Touching a guard ends the process.
class GuardedMemory
{
public:
    explicit GuardedMemory(size_t capacity)
        : _page(static_cast<size_t>(sysconf(_SC_PAGESIZE))), _size((capacity + _page - 1) / _page * _page)
    {
        auto *memory = mmap(nullptr, _size + 2 * _page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
        {
            throw std::system_error(errno, std::generic_category(), "mmap");
        }
        _memory = static_cast<uint8_t *>(memory);
        Protect(PROT_READ | PROT_WRITE);
    }

    ~GuardedMemory() { munmap(_memory, _size + 2 * _page); }

    GuardedMemory(const GuardedMemory &) = delete;
    GuardedMemory &operator=(const GuardedMemory &) = delete;

    /// Memory that begins directly behind a guard.
    uint8_t *Front() { return _memory + _page; }

    /// `size` bytes that end directly before a guard.
    uint8_t *Back(size_t size) { return _memory + _page + _size - size; }

    void ForbidWriting() { Protect(PROT_READ); }
    void AllowWriting() { Protect(PROT_READ | PROT_WRITE); }

private:
    void Protect(int access)
    {
        if (mprotect(_memory + _page, _size, access) != 0)
        {
            throw std::system_error(errno, std::generic_category(), "mprotect");
        }
    }

    size_t _page;
    size_t _size;
    uint8_t *_memory;
};

} // namespace tarn::vision
