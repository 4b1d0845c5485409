#pragma once

#include "utils/class_func_formatter.h"

#include <spdlog/sinks/sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Collects the messages of the default logger, as "level: text", for as long as it lives. Make it before the
/// threads that log.
class LogCapture
{
public:
    LogCapture() : m_sink(std::make_shared<Sink>()), m_previous(spdlog::default_logger())
    {
        auto logger = std::make_shared<spdlog::logger>("capture", m_sink);
        logger->set_level(spdlog::level::trace);
        spdlog::set_default_logger(std::move(logger));
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture() { spdlog::set_default_logger(m_previous); }

    std::vector<std::string> Lines() const
    {
        const std::lock_guard guard(m_sink->lock);
        return m_sink->lines;
    }

    /// The class and function that each line names.
    std::vector<std::string> Origins() const
    {
        const std::lock_guard guard(m_sink->lock);
        return m_sink->origins;
    }

    /// Waits until the line is there that many times; false after half a minute.
    bool WaitFor(const std::string &line, int64_t times = 1) const
    {
        std::unique_lock guard(m_sink->lock);
        return m_sink->added.wait_for(guard, std::chrono::seconds(30),
                                      [&] { return std::ranges::count(m_sink->lines, line) >= times; });
    }

private:
    class Sink final : public spdlog::sinks::sink
    {
    public:
        void log(const spdlog::details::log_msg &message) override
        {
            const auto name = spdlog::level::to_string_view(message.level);
            const std::lock_guard guard(lock);
            lines.push_back(fmt::format("{}: {}", std::string_view(name.data(), name.size()),
                                        std::string_view(message.payload.data(), message.payload.size())));
            origins.emplace_back(ClassAndFunction(message.source.funcname));
            added.notify_all();
        }
        void flush() override {}
        void set_pattern(const std::string &) override {}
        void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

        std::mutex lock;
        std::condition_variable added;
        std::vector<std::string> lines;
        std::vector<std::string> origins;
    };

    std::shared_ptr<Sink> m_sink;
    std::shared_ptr<spdlog::logger> m_previous;
};

} // namespace GenTL::internal
