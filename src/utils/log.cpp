#include "utils/log.h"

#include <utility>

#if FMT_VERSION / 10000 == 9
template void fmt::detail::vformat_to<char>(fmt::detail::buffer<char> &, fmt::string_view, fmt::format_args,
                                            fmt::detail::locale_ref);
#endif

namespace GenTL::internal::utils
{

namespace
{

// Never destroyed: destructors of static objects log.
std::shared_ptr<spdlog::logger> &OwnLogger()
{
    static auto *const logger = new std::shared_ptr<spdlog::logger>();
    return *logger;
}

} // namespace

spdlog::logger *CurrentLogger()
{
    auto *const own = OwnLogger().get();
    return own != nullptr ? own : spdlog::default_logger_raw();
}

void SetOwnLogger(std::shared_ptr<spdlog::logger> logger)
{
    OwnLogger() = std::move(logger);
}

} // namespace GenTL::internal::utils
