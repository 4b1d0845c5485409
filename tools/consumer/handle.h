#pragma once

#include "port/proxy_module.h"

#include <functional>
#include <utility>

namespace gentlctl
{

/// Owns a handle of the producer and closes it. Ignores a failure of the close.
class Handle
{
public:
    Handle() = default;
    Handle(void *handle, std::function<void(void *)> close) : m_handle(handle), m_close(std::move(close)) {}
    Handle(Handle &&other) noexcept { Swap(other); }
    Handle &operator=(Handle &&other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~Handle()
    {
        if (m_handle != nullptr)
        {
            GenTL::internal::CloseQuietly([this] { m_close(m_handle); });
        }
    }

    void *Get() const { return m_handle; }

    /// Gives the handle up without closing it.
    void Release() { m_handle = nullptr; }

private:
    void Swap(Handle &other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        std::swap(m_close, other.m_close);
    }

    void *m_handle = nullptr;
    std::function<void(void *)> m_close;
};

} // namespace gentlctl
