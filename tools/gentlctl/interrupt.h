#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace gentlctl
{

/// Turns signals into requests to end: SIGINT, SIGTERM, and SIGHUP, which comes when the terminal is closed.
/// A program that nobody waits for any more must still end in order, so that the device is free again.
///
/// There is at most one object at a time. A thread of its own takes the signals; the calling thread and the
/// threads that it starts later block them. So make the object before anything starts threads: in a thread
/// that does not block them, a signal ends the program.
class Interrupt
{
public:
    /// @param requests signals that the program obeys; the next one ends it
    /// @throws std::system_error a descriptor or the thread cannot be made
    explicit Interrupt(int requests = 1);
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;
    ~Interrupt();

    /// The first signal that came; 0 before.
    int Signal() const { return m_signal; }

    /// How many signals came.
    int Signals() const { return m_signals; }

private:
    friend class InterruptWatch;

    /// @param signals a signalfd, which it closes
    void TakeSignals(int signals);
    void Take(int signal);

    const int m_requests;
    int m_event; ///< readable from the first signal on
    int m_end;   ///< readable when the thread is to end
    std::atomic<int> m_signal = 0;
    std::atomic<int> m_signals = 0;
    std::thread m_thread;
};

/// Ends a wait when a signal comes: a thread of its own calls `endWait` again and again until the watch is
/// destroyed. One call is not enough, because a call just before the wait begins may have no effect.
class InterruptWatch
{
public:
    /// @throws std::system_error a descriptor or the thread cannot be made
    InterruptWatch(const Interrupt &interrupt, std::function<void()> endWait);
    InterruptWatch(const InterruptWatch &) = delete;
    InterruptWatch &operator=(const InterruptWatch &) = delete;
    ~InterruptWatch();

private:
    void Run(int signalled);

    std::function<void()> m_endWait;
    int m_end;
    std::thread m_thread;
};

/// "SIGINT" for SIGINT.
const char *NameOfSignal(int signal);

} // namespace gentlctl
