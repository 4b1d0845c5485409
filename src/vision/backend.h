#pragma once

#include "vision/status.h"

#include <utility>

namespace tarn::cvl::detail
{

/// An object that holds a handle of the library.
template <typename T>
class IBackendAccessible
{
public:
    virtual ~IBackendAccessible() = default;

    /// The handle, which the object keeps; null when the object is empty.
    virtual void *GetHandle() const = 0;
};

/// An object whose handle the library may replace.
template <typename T>
class IBackendExchangeable
{
public:
    virtual ~IBackendExchangeable() = default;

    virtual void **GetHandleAddress() = 0;
};

/// Access to the handle of an object, for the classes of this folder only.
struct Backend
{
    template <typename T>
    static void *HandleOf(const T &object)
    {
        const IBackendAccessible<T> &accessible = object;
        return accessible.GetHandle();
    }

    template <typename T>
    static void **HandleAddressOf(T &object)
    {
        IBackendExchangeable<T> &exchangeable = object;
        return exchangeable.GetHandleAddress();
    }
};

/// Owns one reference to an object of the library, or none. `destroy` releases the reference; nobody could
/// act on its status.
template <const auto &destroy>
class Handle
{
public:
    Handle() = default;
    explicit Handle(void *owned) : m_handle(owned) {}
    Handle(Handle &&other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    Handle &operator=(Handle other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Handle()
    {
        if (m_handle != nullptr)
        {
            destroy(m_handle);
        }
    }

    void *Get() const { return m_handle; }
    void **GetAddress() { return &m_handle; }

    /// Calls a function that writes a new handle to its first argument.
    /// @throws as Call
    template <typename Function, typename... Args>
    static Handle Create(const Function &create, Args &&...args)
    {
        void *handle = nullptr;
        Call(create, &handle, std::forward<Args>(args)...);
        return Handle(handle);
    }

private:
    void *m_handle = nullptr;
};

} // namespace tarn::cvl::detail
