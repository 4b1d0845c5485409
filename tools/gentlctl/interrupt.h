#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace gentlctl
{

/// Makes SIGINT and SIGTERM a request to end, for as long as it lives. The second signal of a kind ends the
/// program at once, as ever. One object at a time.
///
/// A thread of its own takes the signals. The calling thread and those that it starts from then on block
/// them, so make the object before anything starts threads: a thread that does not block them ends the
/// program.
class Interrupt
{
public:
    /// @throws std::system_error no descriptor or thread is left
    Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;
    ~Interrupt();

    /// The signal that came; 0 while none has.
    int Signal() const;

private:
    friend class InterruptWatch;

    /// @param signals a signalfd, closed at the end
    void TakeSignals(int signals);

    int m_event; ///< readable from the first signal on
    int m_end;   ///< readable when the thread is to end
    std::atomic<int> m_signal = 0;
    std::thread m_thread;
};

/// Ends a wait that goes on when the signal comes: calls a function on a thread of its own, again and again
/// until the watch ends, since a call just before the wait begins may have no effect.
class InterruptWatch
{
public:
    /// @throws std::system_error no descriptor or thread is left
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
