#pragma once

#include <spdlog/sinks/callback_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
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
                m_added.notify_all();
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

    /// Waits until the line is there that many times; false after half a minute.
    bool WaitFor(const std::string &line, int64_t times = 1) const
    {
        std::unique_lock guard(m_lock);
        return m_added.wait_for(guard, std::chrono::seconds(30),
                                [&] { return std::ranges::count(m_lines, line) >= times; });
    }

private:
    std::shared_ptr<spdlog::logger> m_previous;
    mutable std::mutex m_lock;
    mutable std::condition_variable m_added;
    std::vector<std::string> m_lines;
};

} // namespace GenTL::internal
