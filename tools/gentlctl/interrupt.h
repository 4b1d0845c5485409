#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace gentlctl
{

/// Turns the first SIGINT and the first SIGTERM of its lifetime into a request to end. The second signal of a
/// kind ends the program. There is at most one object at a time. A thread of its own takes the signals; the
/// calling thread and the threads that it starts later block them. So make the object before anything starts
/// threads: in a thread that does not block them, a signal ends the program.
class Interrupt
{
public:
    /// @throws std::system_error a descriptor or the thread cannot be made
    Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;
    ~Interrupt();

    /// The signal that came; 0 before.
    int Signal() const;

private:
    friend class InterruptWatch;

    /// @param signals a signalfd, which it closes
    void TakeSignals(int signals);

    int m_event; ///< readable from the first signal on
    int m_end;   ///< readable when the thread is to end
    std::atomic<int> m_signal = 0;
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

} // namespace gentlctl
