#pragma once

#include "consumer/event_description.h"
#include "consumer/event_listener.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

class OpenDevice;
class Producer;

/// An event of a module.
struct ModuleEvent
{
    std::string module; ///< as for OpenDevice::PortOf
    GenTL::EVENT_TYPE type;
    std::chrono::system_clock::time_point time; ///< when it came here
    FiredEvent fired;
    std::string name;             ///< from the description; empty when it has none
    Json values = Json::object(); ///< of the features that belong to the event
};

/// Takes the events of the modules of a device until it is destroyed: of all types but EVENT_NEW_BUFFER, as
/// far as the producer has them.
class EventMonitor
{
public:
    /// @param modules as for OpenDevice::PortOf
    EventMonitor(Producer &producer, OpenDevice &device, const std::vector<std::string> &modules);

    /// Events that are registered, as "device: ERROR, MODULE".
    const std::vector<std::string> &Registered() const { return m_registered; }
    /// Why other events are not registered, a line each. Events that the producer does not have are left out.
    const std::vector<std::string> &Refused() const { return m_refused; }

    /// Waits for the next event; none when the time is over or End was called.
    std::optional<ModuleEvent> Next(std::chrono::steady_clock::time_point until);
    /// Ends the wait. Any thread may call.
    void End();

private:
    /// A module with its description, where it can be read.
    struct Source
    {
        std::string module;
        std::shared_ptr<const EventDescription> description;
    };

    void Register(Producer &producer, OpenDevice &device, const std::string &module);
    void Take(const Source &source, GenTL::EVENT_TYPE type, const FiredEvent &fired);

    std::vector<std::string> m_registered;
    std::vector<std::string> m_refused;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<ModuleEvent> m_events;
    bool m_ends = false;

    std::vector<std::unique_ptr<EventListener>> m_listeners; ///< their threads use what stands above
};

/// One line: "2026-01-31T12:00:00.000001Z device REMOTE_DEVICE EventExposureEnd: ...".
std::string InWords(const ModuleEvent &event);
/// "time", "module", "type", and as far as known "id", "name", "text", "values" and "data".
Json ToJson(const ModuleEvent &event);

} // namespace gentlctl
