#pragma once

// Logging goes through spdlog's default logger: SPDLOG_ERROR("text {}", argument) and its siblings.
// They record __PRETTY_FUNCTION__ (see SPDLOG_FUNCTION in the build), from which the log pattern's %*
// takes the last two components.
#include <spdlog/spdlog.h>
