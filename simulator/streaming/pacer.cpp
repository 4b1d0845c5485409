#include "simulator/streaming/pacer.h"

namespace GenTL::simulator
{

Pacer::Clock::time_point Pacer::Due(double rate) const
{
    return m_last + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / rate));
}

void Pacer::Sent(double rate)
{
    // After a frame that is late by less than a period, the next one is due as if it had been on time.
    const auto due = Due(rate);
    const auto now = Clock::now();
    m_last = now - due < due - m_last ? due : now;
}

} // namespace GenTL::simulator
