#pragma once

#include "simulator/error.h"

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace GenTL::simulator
{

/// Base of every object behind a handle of the consumer.
class Object
{
public:
    Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;
    virtual ~Object() = default;

    /// Null before the object is in the table.
    void *Handle() const { return m_handle; }

private:
    friend class HandleTable;
    void *m_handle = nullptr;
};

/// Finds objects by their handles. A handle is a number that is never reused, so a closed handle is always
/// recognised. Any thread may call.
class HandleTable
{
public:
    void *Add(const std::shared_ptr<Object> &object)
    {
        const std::lock_guard lock(m_mutex);
        object->m_handle = reinterpret_cast<void *>(m_next);
        m_next += 16;
        m_objects.emplace(object->m_handle, object);
        return object->m_handle;
    }

    void Remove(const Object &object)
    {
        std::shared_ptr<Object> removed; // declared first: the object ends when the lock is free again
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_objects.find(object.m_handle); found != m_objects.end())
        {
            removed = std::move(found->second);
            m_objects.erase(found);
        }
    }

    /// @throws Error GC_ERR_INVALID_HANDLE: no object of this kind has the handle.
    template <typename T>
    std::shared_ptr<T> Find(const void *handle) const
    {
        const std::shared_lock lock(m_mutex);
        const auto found = m_objects.find(const_cast<void *>(handle));
        if (found != m_objects.end())
        {
            if (auto object = std::dynamic_pointer_cast<T>(found->second))
            {
                return object;
            }
        }
        throw Error(GC_ERR_INVALID_HANDLE, "Invalid handle");
    }

private:
    mutable std::shared_mutex m_mutex;
    uintptr_t m_next = 0x1000;
    std::unordered_map<void *, std::shared_ptr<Object>> m_objects;
};

} // namespace GenTL::simulator
