#pragma once

#include "consumer/device_file_access.h"
#include "consumer/feature_description.h"
#include "consumer/feature_registers.h"
#include "consumer/json.h"
#include "consumer/port.h"
#include "genapi/graph_features.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

/// How much of a feature to return.
enum class Extent
{
    Value,
    Details,
};

/// The features of a port by name, through the project's own description reader.
///
/// Reads and writes go through the port like those of any consumer, and each call sees the registers as they
/// are then. A literal value of the description belongs to this object: it can be written and read again, and
/// reaches no device. For one thread at a time.
class Features
{
public:
    /// @throws std::runtime_error the description cannot be loaded or read
    explicit Features(std::shared_ptr<Port> port);

    /// Names of all features below the category `Root`, in the description's order.
    std::vector<std::string> Names() const { return m_description.Names(); }
    bool Has(const std::string &name) const { return m_description.Has(name); }

    // Each of the following throws std::runtime_error when there is no such feature.

    /// Names of the entries of an enumeration that can be chosen now.
    std::vector<std::string> AvailableEntries(const std::string &name) const;

    /// Why a feature has no value now, for example "only with a frame" for the feature of a chunk; none when
    /// it has one.
    std::optional<std::string> WhyWithoutValue(const std::string &name) const;

    /// @throws std::runtime_error the feature cannot be read now
    Json Get(const std::string &name) const;

    /// @throws std::runtime_error the feature cannot be read now
    int64_t GetInteger(const std::string &name) const;

    /// Writes a value given as text; a command takes any text.
    /// @throws std::runtime_error the text is no value of the feature's type, or the feature cannot be
    /// written now
    /// @throws GenTLException the port refuses the value
    void Set(const std::string &name, const std::string &value) const;
    void Execute(const std::string &command) const { Set(command, "1"); }
    bool IsReadOnly(const std::string &name) const;
    bool IsCommand(const std::string &name) const;

    /// The values that a feature takes now, as "it takes 16 to 1280"; empty when the description does not
    /// say.
    std::string Allowed(const std::string &name) const;

    // The following two report a feature that cannot be read in their answer, and do not throw.

    /// The values of features, by name.
    /// @param names of features, or patterns such as "Exposure*"; empty for all
    /// @param extent Extent::Details: an object of DescribeFeature for each feature, with its "value"
    /// @return in place of a missing value the reason: as an "error" when the feature was named or could not
    /// be read, else as a "text"
    Json Values(const std::vector<std::string> &names, Extent extent = Extent::Value) const;

    /// Values of the features in the chunks of a frame, by name. An "error" stands in place of a value that
    /// cannot be read.
    Json ChunkValues(const Chunks &chunks) const;

    /// Access to the files of a device.
    DeviceFileAccess Files() const { return DeviceFileAccess(*m_features); }

private:
    friend class SettingAccess;

    const GenTL::internal::genapi::Node &NodeOf(const std::string &name) const;

    std::shared_ptr<Port> m_port;
    FeatureDescription m_description;
    std::unique_ptr<FeatureRegisters> m_registers;
    std::unique_ptr<GenTL::internal::genapi::GraphFeatures> m_features;
};

} // namespace gentlctl
