#include "gentlctl/event_monitor.h"

#include "consumer/device.h"
#include "utils/gentl_exception.h"
#include "utils/try.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr EVENT_TYPE types[] = {EVENT_ERROR, EVENT_FEATURE_INVALIDATE, EVENT_FEATURE_CHANGE,
                                EVENT_REMOTE_DEVICE, EVENT_MODULE};

std::shared_ptr<const EventDescription> TryDescribe(const std::shared_ptr<Port> &port)
{
    // Without it, the events are told by their numbers.
    return internal::utils::Try([&] { return std::make_shared<const EventDescription>(*port); })
        .value_or(nullptr);
}

/// Whether an event of this type has an id that a description explains.
bool HasEventId(EVENT_TYPE type)
{
    return type == EVENT_REMOTE_DEVICE || type == EVENT_MODULE;
}

std::string TimeText(std::chrono::system_clock::time_point time)
{
    const auto since = time.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    const auto micro = std::chrono::duration_cast<std::chrono::microseconds>(since - seconds);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z", fmt::gmtime(std::chrono::system_clock::to_time_t(time)),
                       micro.count());
}

/// The id of an event; in hexadecimal where it is an EventID of the description.
std::string IdText(const ModuleEvent &event)
{
    const auto &fired = event.fired;
    if (HasEventId(event.type) && fired.number)
    {
        return fmt::format("0x{:04X}", *fired.number);
    }
    return !fired.id.empty() ? fired.id
           : fired.number    ? fmt::format("{}", static_cast<int64_t>(*fired.number))
                             : "";
}

} // namespace

EventMonitor::EventMonitor(Producer &producer, OpenDevice &device, const std::vector<std::string> &modules)
{
    for (const auto &module : modules)
    {
        Register(producer, device, module);
    }
}

void EventMonitor::Register(Producer &producer, OpenDevice &device, const std::string &module)
{
    const auto port = device.PortOf(module);
    // The device sends the events of the camera, which the camera's description explains.
    const auto remote = module == "device" ? TryDescribe(device.PortOf("remote")) : nullptr;
    const Source own{module, TryDescribe(port)};
    std::vector<std::string> registered;
    for (const auto type : types)
    {
        const auto source = type == EVENT_REMOTE_DEVICE ? Source{module, remote} : own;
        try
        {
            m_listeners.push_back(std::make_unique<EventListener>(
                producer.Calls(), port->GetLowerHandle(), type,
                [this, source, type](const FiredEvent &fired) { Take(source, type, fired); },
                [this, source, type](const std::string &reason) {
                    Take({source.module, nullptr}, type, {{}, {}, reason, {}});
                }));
            registered.push_back(EventTypeName(type));
        }
        catch (const internal::GenTLException &exception)
        {
            if (exception.Code() != GC_ERR_NOT_IMPLEMENTED)
            {
                m_refused.push_back(fmt::format("{}: {}: {} ({})", module, EventTypeName(type),
                                                exception.what(), exception.Code()));
            }
        }
    }
    m_registered.push_back(fmt::format(
        "{}: {}", module, registered.empty() ? "no events" : fmt::format("{}", fmt::join(registered, ", "))));
}

void EventMonitor::Take(const Source &source, EVENT_TYPE type, const FiredEvent &fired)
{
    ModuleEvent event{source.module, type, std::chrono::system_clock::now(), fired, {}};
    if (HasEventId(type) && source.description && fired.number)
    {
        event.name = source.description->NameOf(*fired.number);
        event.values = source.description->ValuesOf(*fired.number, fired.data);
    }
    const std::lock_guard lock(m_mutex);
    m_events.push_back(std::move(event));
    m_changed.notify_all();
}

std::optional<ModuleEvent> EventMonitor::Next(std::chrono::steady_clock::time_point until)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_until(lock, until, [this] { return m_ends || !m_events.empty(); });
    if (m_ends || m_events.empty())
    {
        return std::nullopt;
    }
    auto event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void EventMonitor::End()
{
    const std::lock_guard lock(m_mutex);
    m_ends = true;
    m_changed.notify_all();
}

std::string InWords(const ModuleEvent &event)
{
    const auto id = IdText(event);
    auto line = fmt::format("{} {} {}{}{}{}{}", TimeText(event.time), event.module, EventTypeName(event.type),
                            id.empty() ? "" : " ", id, event.name.empty() ? "" : " ", event.name);
    if (!event.fired.text.empty())
    {
        line += ": " + event.fired.text;
    }
    for (const auto &value : event.values.items())
    {
        line += fmt::format(" {}={}", value.key(), JsonText(value.value()));
    }
    if (event.values.empty() && !event.fired.data.empty())
    {
        line += fmt::format(" data={:02x}", fmt::join(event.fired.data, ""));
    }
    return line;
}

Json ToJson(const ModuleEvent &event)
{
    Json json{{"time", TimeText(event.time)}, {"module", event.module}, {"type", EventTypeName(event.type)}};
    const std::pair<const char *, std::string> texts[] = {
        {"id", IdText(event)},
        {"name", event.name},
        {"text", event.fired.text},
        {"data", fmt::format("{:02x}", fmt::join(event.fired.data, ""))}};
    for (const auto &[key, text] : texts)
    {
        if (!text.empty())
        {
            json[key] = text;
        }
    }
    if (!event.values.empty())
    {
        json["values"] = event.values;
    }
    return json;
}

} // namespace gentlctl
