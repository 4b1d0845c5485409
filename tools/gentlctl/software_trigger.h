#pragma once

#include "consumer/features.h"

#include <string>
#include <utility>
#include <vector>

namespace gentlctl
{

/// Makes a device send a frame on command. The destructor sets the features back.
class SoftwareTrigger
{
public:
    /// Sets TriggerSelector to FrameStart, TriggerSource to Software and TriggerMode to On, each where the
    /// device has it. To be called before the device starts.
    /// @param remote features of the device; outlives this object
    /// @throws std::runtime_error the device has no TriggerSoftware, or a feature cannot be set
    explicit SoftwareTrigger(const Features &remote);
    SoftwareTrigger(const SoftwareTrigger &) = delete;
    SoftwareTrigger &operator=(const SoftwareTrigger &) = delete;
    ~SoftwareTrigger();

    /// Asks for a frame.
    /// @throws std::runtime_error TriggerSoftware cannot be executed now
    void Fire() const { m_remote.Execute("TriggerSoftware"); }

private:
    void Choose(const std::string &feature, const std::string &value);
    void SetBack() noexcept;

    const Features &m_remote;
    std::vector<std::pair<std::string, std::string>> m_before; ///< features and their values
};

} // namespace gentlctl
