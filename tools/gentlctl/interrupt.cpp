#include "gentlctl/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace gentlctl
{
namespace
{

constexpr std::array signals{SIGINT, SIGTERM};

// All that a handler may touch.
std::atomic<int> signalThatCame = 0;
std::atomic<int> eventOfSignal = -1;
static_assert(std::atomic<int>::is_always_lock_free);

int MakeEvent()
{
    const int event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0)
    {
        throw std::system_error(errno, std::generic_category(), "Cannot wait for signals");
    }
    return event;
}

/// Makes an event's descriptor readable, for good: nobody reads it.
void Raise(int event)
{
    const uint64_t one = 1;
    [[maybe_unused]] const auto written = write(event, &one, sizeof one);
}

void OnSignal(int signal)
{
    const int error = errno;
    signalThatCame = signal;
    Raise(eventOfSignal);
    errno = error;
}

} // namespace

Interrupt::Interrupt() : m_event(MakeEvent())
{
    signalThatCame = 0;
    eventOfSignal = m_event;
    struct sigaction action
    {
    };
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int signal : signals)
    {
        sigaction(signal, &action, nullptr);
    }
}

Interrupt::~Interrupt()
{
    for (const int signal : signals)
    {
        std::signal(signal, SIG_DFL);
    }
    close(m_event);
}

int Interrupt::Signal() const
{
    return signalThatCame;
}

InterruptWatch::InterruptWatch(const Interrupt &interrupt, std::function<void()> endWait)
    : m_endWait(std::move(endWait)), m_end(MakeEvent()),
      m_thread([this, signalled = interrupt.m_event] { Run(signalled); })
{
}

InterruptWatch::~InterruptWatch()
{
    Raise(m_end);
    m_thread.join();
    close(m_end);
}

void InterruptWatch::Run(int signalled)
{
    constexpr int again = 20; // ms
    constexpr int forever = -1;
    std::array<pollfd, 2> events{pollfd{m_end, POLLIN, 0}, pollfd{signalled, POLLIN, 0}};
    for (bool ending = false; !ending;)
    {
        // Once the signal has come its descriptor stays readable: only the end is waited for.
        const bool came = (events[1].revents & POLLIN) != 0;
        if (came)
        {
            m_endWait();
        }
        poll(events.data(), came ? 1 : 2, came ? again : forever);
        ending = (events[0].revents & POLLIN) != 0;
    }
}

} // namespace gentlctl
