#pragma once

#include <spdlog/pattern_formatter.h>

#include <memory>
#include <string_view>

namespace GenTL::internal
{

/// The last two `::` components of a function's pretty signature, as in "Library::Initialize".
///
/// Cuts at the first "(" and keeps the text after the second-last "::". C-07: template arguments and return
/// types are not parsed.
std::string_view ClassAndFunction(std::string_view signature);

/// The pattern flag `%*`: class and function of a record's source location.
class ClassFuncFormatter final : public spdlog::custom_flag_formatter
{
public:
    void format(const spdlog::details::log_msg &message, const std::tm &time,
                spdlog::memory_buf_t &output) override;
    std::unique_ptr<spdlog::custom_flag_formatter> clone() const override;
};

} // namespace GenTL::internal
