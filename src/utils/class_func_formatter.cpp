#include "utils/class_func_formatter.h"

namespace GenTL::internal
{

std::string_view ClassAndFunction(std::string_view signature)
{
    const auto text = signature.substr(0, signature.find('('));
    const auto last = text.rfind("::");
    if (last == std::string_view::npos || last == 0)
    {
        return text;
    }
    const auto before = text.rfind("::", last - 1);
    return before == std::string_view::npos ? text : text.substr(before + 2);
}

void ClassFuncFormatter::format(const spdlog::details::log_msg &message, const std::tm &,
                                spdlog::memory_buf_t &output)
{
    const auto *signature = message.source.funcname;
    const auto text = ClassAndFunction(signature != nullptr ? signature : "");
    output.append(text.data(), text.data() + text.size());
}

std::unique_ptr<spdlog::custom_flag_formatter> ClassFuncFormatter::clone() const
{
    return std::make_unique<ClassFuncFormatter>();
}

} // namespace GenTL::internal
