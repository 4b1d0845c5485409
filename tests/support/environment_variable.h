#pragma once

#include <cstdlib>
#include <string>

namespace GenTL::internal
{

/// Sets an environment variable for the life of this object; unset before and afterwards.
class EnvironmentVariable
{
public:
    EnvironmentVariable(std::string name, const std::string &value) : m_name(std::move(name))
    {
        setenv(m_name.c_str(), value.c_str(), 1);
    }
    ~EnvironmentVariable() { unsetenv(m_name.c_str()); }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;

private:
    std::string m_name;
};

} // namespace GenTL::internal
