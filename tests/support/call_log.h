#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Calls in their order, from any thread, of one fake or of several that share it.
class CallLog
{
public:
    void Add(std::string call)
    {
        const std::lock_guard guard(m_lock);
        m_calls.push_back(std::move(call));
        m_added.notify_all();
    }

    std::vector<std::string> All() const
    {
        const std::lock_guard guard(m_lock);
        return m_calls;
    }

    int64_t CountOf(const std::string &call) const
    {
        const std::lock_guard guard(m_lock);
        return std::ranges::count(m_calls, call);
    }

    /// Waits until the call was made that many times; false after half a minute.
    bool WaitFor(const std::string &call, int64_t times = 1) const
    {
        std::unique_lock guard(m_lock);
        return m_added.wait_for(guard, std::chrono::seconds(30),
                                [&] { return std::ranges::count(m_calls, call) >= times; });
    }

    void Clear()
    {
        const std::lock_guard guard(m_lock);
        m_calls.clear();
    }

private:
    mutable std::mutex m_lock;
    mutable std::condition_variable m_added;
    std::vector<std::string> m_calls;
};

} // namespace GenTL::internal
