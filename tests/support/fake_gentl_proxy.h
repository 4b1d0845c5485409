#pragma once

#include "port/i_gentl_proxy.h"
#include "utils/gentl_exception.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// A lower producer whose operations a test can script: fake.onGCReadPort = [...]{...}. An operation without
/// a script succeeds and does nothing. Calls are recorded by name, in their order.
class FakeGenTLProxy : public IGenTLProxy
{
public:
#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    std::function<GC_ERROR parameters> on##name;                                                             \
    GC_ERROR name parameters override                                                                        \
    {                                                                                                        \
        Record(#name);                                                                                       \
        return on##name ? on##name arguments : GC_ERR_SUCCESS;                                               \
    }
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY

    std::vector<std::string> Calls() const
    {
        const std::lock_guard guard(m_lock);
        return m_calls;
    }

    size_t CountOf(std::string_view name) const
    {
        const std::lock_guard guard(m_lock);
        return static_cast<size_t>(std::count(m_calls.begin(), m_calls.end(), name));
    }

    void ForgetCalls()
    {
        const std::lock_guard guard(m_lock);
        m_calls.clear();
    }

private:
    void Record(std::string_view name)
    {
        const std::lock_guard guard(m_lock);
        m_calls.emplace_back(name);
    }

    mutable std::mutex m_lock;
    std::vector<std::string> m_calls;
};

/// Throws what GenTLProxy throws for a lower function that fails.
[[noreturn]] inline void LowerFailure(GC_ERROR code, const std::string &text = "Unknown error!")
{
    throw GenTLException(text, code);
}

} // namespace GenTL::internal
