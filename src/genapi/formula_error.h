#pragma once

#include <stdexcept>

namespace GenTL::internal::genapi
{

/// A formula that is wrong or has no value. The caller knows the node and names it in a GenApiError.
class FormulaError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace GenTL::internal::genapi
