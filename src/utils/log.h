#pragma once

// Logging goes through CurrentLogger: QVR_LOG_ERROR("text {}", argument) and its siblings. They
// record __PRETTY_FUNCTION__ (SPDLOG_FUNCTION in the build); the log pattern's %* prints its last two
// components.
#include <spdlog/spdlog.h>

#if FMT_VERSION / 10000 == 9
// fmt 9 instantiates this function and all its helpers in every file that logs. Only log.cpp instantiates it
// here. Can go when fmt 9 does.
extern template void fmt::detail::vformat_to<char>(fmt::detail::buffer<char> &, fmt::string_view,
                                                   fmt::format_args, fmt::detail::locale_ref);
#endif

namespace GenTL::internal::utils
{

/// The logger of this library: spdlog's default logger, unless SetOwnLogger named another one.
spdlog::logger *CurrentLogger();

/// Directs the log of this library to a logger of its own, once, before anything is logged.
void SetOwnLogger(std::shared_ptr<spdlog::logger> logger);

} // namespace GenTL::internal::utils

#define QVR_LOG_DEBUG(...) SPDLOG_LOGGER_DEBUG(::GenTL::internal::utils::CurrentLogger(), __VA_ARGS__)
#define QVR_LOG_WARN(...) SPDLOG_LOGGER_WARN(::GenTL::internal::utils::CurrentLogger(), __VA_ARGS__)
#define QVR_LOG_ERROR(...) SPDLOG_LOGGER_ERROR(::GenTL::internal::utils::CurrentLogger(), __VA_ARGS__)
#define QVR_LOG_CRITICAL(...) SPDLOG_LOGGER_CRITICAL(::GenTL::internal::utils::CurrentLogger(), __VA_ARGS__)

// Writes a record under the name of another function, given as "Class::Function". For code that was moved out
// of this function: log filters know the record by the function's name.
#define QVR_LOG_FOR(operation, level, ...)                                                                   \
    ::GenTL::internal::utils::CurrentLogger()->log(spdlog::source_loc{__FILE__, __LINE__, operation}, level, \
                                                   __VA_ARGS__)
#define QVR_LOG_ERROR_FOR(operation, ...) QVR_LOG_FOR(operation, spdlog::level::err, __VA_ARGS__)
#define QVR_LOG_CRITICAL_FOR(operation, ...) QVR_LOG_FOR(operation, spdlog::level::critical, __VA_ARGS__)
