#pragma once

#include <unistd.h>

#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace GenTL::internal
{

/// Whether a thread of this process sleeps, or has ended.
inline bool IsAsleep(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string stat;
    std::getline(file, stat);
    // The state stands behind the name, which may hold any character.
    const auto name = stat.rfind(") ");
    return name == std::string::npos || stat[name + 2] == 'S';
}

/// Makes a call that waits, on a thread of its own, and returns its result to come once it waits.
template <typename Call>
auto CallThatSleeps(Call call)
{
    std::promise<pid_t> started;
    auto thread = started.get_future();
    auto result = std::async(std::launch::async,
                             [started = std::move(started), call]() mutable
                             {
                                 started.set_value(gettid());
                                 return call();
                             });
    for (const auto id = thread.get(); !IsAsleep(id);)
    {
        std::this_thread::yield();
    }
    return result;
}

} // namespace GenTL::internal
