#pragma once

#include "consumer/feature_description.h"
#include "consumer/feature_registers.h"
#include "gentlctl/register_log.h"
#include "port/i_port.h"
#include "recording/device_record.h"

#include "genapi/graph_features.h"

#include <string>

namespace gentlctl
{

/// Reads all registers that a device's description names, so that a replay can answer in its place. It writes
/// only to the selectors of the device and to its file access. Made for one use, and for one thread.
class RegisterSurvey
{
public:
    /// @param port outlives this object
    /// @throws std::runtime_error the description cannot be loaded or read
    explicit RegisterSurvey(GenTL::internal::IPort &port);

    recording::Registers Run();

private:
    RegisterLog::Blocks ReadAll();
    void AddWriteOnly(RegisterLog::Blocks &memory);
    std::vector<recording::FeaturePlace> PlacesOfFeature(const std::string &name);
    std::vector<recording::CommandPlace> Commands();
    int64_t CommandValue(FeatureDescription::NodeId command);
    std::vector<recording::FeaturePlace> Layout();
    recording::FileAccess Files();
    std::vector<recording::NamedValue> EntriesOf(const std::string &name);

    FeatureDescription m_description;
    FeatureRegisters m_registers;
    RegisterLog m_log;
    GenTL::internal::genapi::GraphFeatures m_features;
};

} // namespace gentlctl
