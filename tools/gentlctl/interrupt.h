#pragma once

#include <functional>
#include <thread>

namespace gentlctl
{

/// Makes SIGINT and SIGTERM a request to end, for as long as it lives. The second signal of a kind ends the
/// program at once, as ever. One object at a time.
class Interrupt
{
public:
    /// @throws std::system_error no descriptor is left
    Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;
    ~Interrupt();

    /// The signal that came; 0 while none has.
    int Signal() const;

private:
    friend class InterruptWatch;

    int m_event;
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
