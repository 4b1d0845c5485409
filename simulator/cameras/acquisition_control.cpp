#include "simulator/cameras/acquisition_control.h"

#include <limits>

namespace GenTL::simulator
{

namespace
{

// Values of AcquisitionMode.
constexpr int64_t continuous = 0;
constexpr int64_t singleFrame = 1;

} // namespace

AcquisitionControl::AcquisitionControl(FeatureSet &features) : m_features(features)
{
    features.AfterWrite("AcquisitionStart", [this] { Start(); });
    features.AfterWrite("AcquisitionStop", [this] { Stop(); });
    features.AfterWrite("AcquisitionFrameRate", [this] { TellListener(); });
    // Whether the image layout is frozen.
    features.ComputeOnRead("ParametersLocked",
                           [this] { return int64_t{m_running || m_features.IsTrue("TLParamsLocked")}; });
}

void AcquisitionControl::Start()
{
    const auto mode = m_features.Integer("AcquisitionMode");
    m_remaining = mode == continuous    ? std::numeric_limits<uint64_t>::max()
                  : mode == singleFrame ? 1
                                        : static_cast<uint64_t>(m_features.Integer("AcquisitionFrameCount"));
    m_sent = 0;
    m_triggers = 0;
    m_running = true;
    TellListener();
}

void AcquisitionControl::Stop()
{
    const auto lock = m_features.Lock();
    m_running = false;
    TellListener();
}

void AcquisitionControl::WaitForTriggers(bool wait)
{
    const auto lock = m_features.Lock();
    m_needsTrigger = wait;
    m_triggers = 0;
    TellListener();
}

void AcquisitionControl::Trigger()
{
    const auto lock = m_features.Lock();
    m_triggers += m_running && m_needsTrigger ? 1 : 0;
    TellListener();
}

bool AcquisitionControl::HasFrame() const
{
    const auto lock = m_features.Lock();
    return m_running && (!m_needsTrigger || m_triggers > 0);
}

double AcquisitionControl::FrameRate() const
{
    return m_features.Float("AcquisitionFrameRate");
}

std::optional<uint64_t> AcquisitionControl::NextFrame()
{
    const auto lock = m_features.Lock();
    if (!HasFrame())
    {
        return std::nullopt;
    }
    m_triggers -= m_needsTrigger ? 1 : 0;
    m_running = --m_remaining > 0;
    return ++m_sent;
}

void AcquisitionControl::SetListener(const void *owner, std::function<void()> listener)
{
    const auto lock = m_features.Lock();
    m_listenerOwner = owner;
    m_listener = std::move(listener);
}

void AcquisitionControl::RemoveListener(const void *owner)
{
    const auto lock = m_features.Lock();
    if (m_listenerOwner == owner)
    {
        m_listener = nullptr;
    }
}

void AcquisitionControl::TellListener()
{
    const auto lock = m_features.Lock();
    if (m_listener)
    {
        m_listener();
    }
}

} // namespace GenTL::simulator
