#include "gentlctl/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace gentlctl
{
namespace
{

constexpr std::array requestsToEnd{SIGINT, SIGTERM};
constexpr int forever = -1;

/// @returns the descriptor
/// @throws std::system_error it is -1
int Checked(int descriptor)
{
    if (descriptor < 0)
    {
        throw std::system_error(errno, std::generic_category(), "Cannot wait for signals");
    }
    return descriptor;
}

int MakeEvent()
{
    return Checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

/// Makes an event's descriptor readable. It stays so, because nobody reads the event.
void Raise(int event)
{
    const uint64_t one = 1;
    [[maybe_unused]] const auto written = write(event, &one, sizeof one);
}

bool IsReadable(const pollfd &descriptor)
{
    return (descriptor.revents & POLLIN) != 0;
}

sigset_t RequestsToEnd()
{
    sigset_t set{};
    sigemptyset(&set);
    for (const int signal : requestsToEnd)
    {
        sigaddset(&set, signal);
    }
    return set;
}

void Unblock(const sigset_t &signals)
{
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void UnblockOne(int signal)
{
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, signal);
    Unblock(set);
}

int NextOf(int signals)
{
    signalfd_siginfo info{};
    return read(signals, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
}

} // namespace

Interrupt::Interrupt() : m_event(MakeEvent()), m_end(MakeEvent())
{
    const sigset_t blocked = RequestsToEnd();
    for (const int signal : requestsToEnd)
    {
        std::signal(signal, SIG_DFL);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    m_thread = std::thread([this, signals = Checked(signalfd(-1, &blocked, SFD_CLOEXEC | SFD_NONBLOCK))]
                           { TakeSignals(signals); });
}

Interrupt::~Interrupt()
{
    Raise(m_end);
    m_thread.join();
    Unblock(RequestsToEnd());
    close(m_end);
    close(m_event);
}

void Interrupt::TakeSignals(int signals)
{
    std::array<pollfd, 2> events{pollfd{m_end, POLLIN, 0}, pollfd{signals, POLLIN, 0}};
    while (!IsReadable(events[0]))
    {
        poll(events.data(), events.size(), forever);
        if (const int signal = NextOf(signals); signal != 0)
        {
            m_signal = signal;
            Raise(m_event);
            UnblockOne(signal); // this thread receives the next one, which ends the program
        }
    }
    close(signals);
}

int Interrupt::Signal() const
{
    return m_signal;
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
    std::array<pollfd, 2> events{pollfd{m_end, POLLIN, 0}, pollfd{signalled, POLLIN, 0}};
    for (bool ending = false; !ending;)
    {
        // `signalled` stays readable once a signal has come, so from then on poll `m_end` alone.
        const bool came = IsReadable(events[1]);
        if (came)
        {
            m_endWait();
        }
        poll(events.data(), came ? 1 : 2, came ? again : forever);
        ending = IsReadable(events[0]);
    }
}

} // namespace gentlctl
