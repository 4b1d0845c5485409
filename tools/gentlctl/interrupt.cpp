#include "gentlctl/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <initializer_list>
#include <system_error>

namespace gentlctl
{
namespace
{

struct RequestToEnd
{
    int signal;
    const char *name;
};

constexpr std::array requestsToEnd{RequestToEnd{SIGINT, "SIGINT"}, RequestToEnd{SIGTERM, "SIGTERM"},
                                   RequestToEnd{SIGHUP, "SIGHUP"}};
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

sigset_t SetOf(std::initializer_list<int> signals)
{
    sigset_t set{};
    sigemptyset(&set);
    for (const int signal : signals)
    {
        sigaddset(&set, signal);
    }
    return set;
}

/// The requests to end that this program obeys. One started by nohup outlives its terminal. A shell lets what
/// it starts in the background ignore SIGINT, which is obeyed all the same.
sigset_t ObeyedSignals()
{
    struct sigaction hangUp = {};
    sigaction(SIGHUP, nullptr, &hangUp);
    return hangUp.sa_handler == SIG_IGN ? SetOf({SIGINT, SIGTERM}) : SetOf({SIGINT, SIGTERM, SIGHUP});
}

void Unblock(const sigset_t &signals)
{
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

int NextOf(int signals)
{
    signalfd_siginfo info{};
    return read(signals, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
}

} // namespace

Interrupt::Interrupt(int requests) : m_requests(requests), m_event(MakeEvent()), m_end(MakeEvent())
{
    const sigset_t blocked = ObeyedSignals();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    m_thread = std::thread([this, signals = Checked(signalfd(-1, &blocked, SFD_CLOEXEC | SFD_NONBLOCK))]
                           { TakeSignals(signals); });
}

Interrupt::~Interrupt()
{
    Raise(m_end);
    m_thread.join();
    Unblock(ObeyedSignals());
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
            Take(signal);
        }
    }
    close(signals);
}

void Interrupt::Take(int signal)
{
    if (m_signals != 0 && signal == SIGHUP)
    {
        return; // a shell may repeat that of the terminal
    }
    if (++m_signals == 1)
    {
        m_signal = signal;
        Raise(m_event);
    }
    if (m_signals >= m_requests)
    {
        Unblock(SetOf({SIGINT, SIGTERM})); // this thread receives the next one, which ends the program
    }
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

const char *NameOfSignal(int signal)
{
    const auto *const request = std::ranges::find(requestsToEnd, signal, &RequestToEnd::signal);
    return request == requestsToEnd.end() ? "a signal" : request->name;
}

} // namespace gentlctl
