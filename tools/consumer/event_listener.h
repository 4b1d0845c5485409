#pragma once

#include "port/i_gentl_proxy.h"

#include <gentl/gentl.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace gentlctl
{

/// An event that fired, as the producer describes it. An absent number, an empty text: the producer gives
/// none.
struct FiredEvent
{
    std::optional<uint64_t>
        number;                ///< its id: the code of an EVENT_ERROR, else an EventID of the description
    std::string id;            ///< its id as a text; for an event of a feature, the name of the feature
    std::string text;          ///< the message of an EVENT_ERROR
    std::vector<uint8_t> data; ///< the bytes that the features of the event's port read
};

/// Registers an event and waits for it on a thread of its own, from construction to destruction.
class EventListener
{
public:
    using Take = std::function<void(const FiredEvent &event)>;
    /// Called when the producer ends the wait by a failure; nothing comes afterwards.
    using Fail = std::function<void(const std::string &reason)>;

    /// @param source a module, as for GCRegisterEvent; outlives this object
    /// @param take, fail called on the thread
    /// @throws GenTLException the module does not have the event, or it is registered already
    EventListener(GenTL::internal::IGenTLProxy &calls, GenTL::EVENTSRC_HANDLE source, GenTL::EVENT_TYPE type,
                  Take take, Fail fail);
    EventListener(const EventListener &) = delete;
    EventListener &operator=(const EventListener &) = delete;
    ~EventListener();

private:
    void Run();
    void TakeEvents();
    size_t LongestData() const;
    FiredEvent Describe(const std::vector<uint8_t> &bytes) const;
    bool IsEnding();

    GenTL::internal::IGenTLProxy &m_calls;
    GenTL::EVENTSRC_HANDLE m_source;
    const GenTL::EVENT_TYPE m_type;
    const Take m_take;
    const Fail m_fail;
    GenTL::EVENT_HANDLE m_event = nullptr;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    bool m_ends = false;
    bool m_ended = false;

    std::thread m_thread;
};

/// "REMOTE_DEVICE" for EVENT_REMOTE_DEVICE; the number of an unpublished type.
std::string EventTypeName(GenTL::EVENT_TYPE type);

} // namespace gentlctl
