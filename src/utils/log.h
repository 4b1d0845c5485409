#pragma once

// Logging goes through spdlog's default logger: SPDLOG_ERROR("text {}", argument) and its siblings. They
// record __PRETTY_FUNCTION__ (SPDLOG_FUNCTION in the build); the log pattern's %* prints its last two
// components.
#include <spdlog/spdlog.h>

#if FMT_VERSION / 10000 == 9
// fmt 9 instantiates this function and all its helpers in every file that logs. Only log.cpp instantiates it
// here. Can go when fmt 9 does.
extern template void fmt::detail::vformat_to<char>(fmt::detail::buffer<char> &, fmt::string_view,
                                                   fmt::format_args, fmt::detail::locale_ref);
#endif

// Writes a record under the name of another function, given as "Class::Function". For code that was moved out
// of this function: log filters know the record by the function's name.
#define QVR_LOG_FOR(operation, level, ...)                                                                   \
    spdlog::default_logger_raw()->log(spdlog::source_loc{__FILE__, __LINE__, operation}, level, __VA_ARGS__)
#define QVR_LOG_ERROR_FOR(operation, ...) QVR_LOG_FOR(operation, spdlog::level::err, __VA_ARGS__)
#define QVR_LOG_CRITICAL_FOR(operation, ...) QVR_LOG_FOR(operation, spdlog::level::critical, __VA_ARGS__)
