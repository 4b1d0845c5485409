#include "simulator/system/plug_watch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <utility>

namespace GenTL::simulator
{

PlugWatch::PlugWatch(std::filesystem::path file, Tell tell)
    : m_file(std::move(file)), m_tell(std::move(tell)), m_changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      m_end(eventfd(0, EFD_CLOEXEC))
{
    // The folder, because the file may be replaced by another one.
    const auto folder = m_file.has_parent_path() ? m_file.parent_path() : std::filesystem::path(".");
    inotify_add_watch(m_changes, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE);
    ReadFile();
    // Without m_end, nothing could end the thread.
    if (m_end >= 0)
    {
        m_thread = std::thread([this] { Run(); });
    }
}

PlugWatch::~PlugWatch()
{
    const uint64_t one = 1;
    [[maybe_unused]] const auto written = write(m_end, &one, sizeof one);
    if (m_thread.joinable())
    {
        m_thread.join();
    }
    close(m_end);
    close(m_changes);
}

void PlugWatch::Run()
{
    std::array<pollfd, 2> events{pollfd{m_end, POLLIN, 0}, pollfd{m_changes, POLLIN, 0}};
    const auto goesOn = [&events]
    {
        const int ready = poll(events.data(), events.size(), -1);
        return ready < 0 ? errno == EINTR : (events[0].revents & POLLIN) == 0;
    };
    while (goesOn())
    {
        std::array<char, 4096> changes{};
        while (read(m_changes, changes.data(), changes.size()) > 0)
        {
        }
        ReadFile();
    }
}

void PlugWatch::ReadFile() const
{
    std::ifstream file(m_file);
    std::set<std::string> names;
    for (std::string name; file >> name;)
    {
        names.insert(name);
    }
    m_tell(names);
}

} // namespace GenTL::simulator
