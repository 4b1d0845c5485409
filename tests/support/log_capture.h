#pragma once

#include <spdlog/sinks/callback_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Collects what goes through the default logger, as "level: text", for as long as it lives.
class LogCapture
{
public:
    LogCapture() : m_previous(spdlog::default_logger())
    {
        auto sink = std::make_shared<spdlog::sinks::callback_sink_mt>(
            [this](const spdlog::details::log_msg &message)
            {
                const std::lock_guard guard(m_lock);
                m_lines.push_back(
                    fmt::format("{}: {}", spdlog::level::to_string_view(message.level),
                                std::string_view(message.payload.data(), message.payload.size())));
            });
        auto logger = std::make_shared<spdlog::logger>("capture", std::move(sink));
        logger->set_level(spdlog::level::trace);
        spdlog::set_default_logger(std::move(logger));
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture() { spdlog::set_default_logger(m_previous); }

    std::vector<std::string> Lines() const
    {
        const std::lock_guard guard(m_lock);
        return m_lines;
    }

private:
    std::shared_ptr<spdlog::logger> m_previous;
    mutable std::mutex m_lock;
    std::vector<std::string> m_lines;
};

} // namespace GenTL::internal
