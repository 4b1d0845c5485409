#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>

namespace GenTL::simulator
{

/// Watches the file that names the unplugged cameras. A thread of its own reads the file when it changes,
/// appears or disappears.
class PlugWatch
{
public:
    /// Called with the names in the file: once by the constructor, and later by the thread.
    using Tell = std::function<void(const std::set<std::string> &names)>;

    /// The file need not exist. Where the folder cannot be watched, the file is read once.
    PlugWatch(std::filesystem::path file, Tell tell);
    PlugWatch(const PlugWatch &) = delete;
    PlugWatch &operator=(const PlugWatch &) = delete;
    ~PlugWatch();

private:
    void Run();
    void ReadFile() const;

    const std::filesystem::path m_file;
    const Tell m_tell;
    int m_changes; ///< an inotify descriptor
    int m_end;     ///< readable when the thread is to end
    std::thread m_thread;
};

} // namespace GenTL::simulator
