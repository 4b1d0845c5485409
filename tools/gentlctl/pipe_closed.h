#pragma once

#include <stdexcept>

namespace gentlctl
{

/// Whoever reads a pipe has closed it.
class PipeClosed : public std::runtime_error
{
public:
    PipeClosed() : std::runtime_error("The reader has closed the pipe") {}
};

} // namespace gentlctl
