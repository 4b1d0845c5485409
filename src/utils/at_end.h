#pragma once

#include <utility>

namespace GenTL::internal::utils
{

/// Runs an action when the scope ends, also by an exception.
template <typename Action>
class AtEnd
{
public:
    explicit AtEnd(Action action) : m_action(std::move(action)) {}
    ~AtEnd() { m_action(); }
    AtEnd(const AtEnd &) = delete;
    AtEnd &operator=(const AtEnd &) = delete;

private:
    Action m_action;
};

} // namespace GenTL::internal::utils
