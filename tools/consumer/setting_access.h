#pragma once

#include "consumer/feature_description.h"
#include "genapi/graph_features.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// The values of a module's features as texts, by the names of the features. Must not outlive the features.
class SettingAccess
{
public:
    explicit SettingAccess(const Features &features);

    const FeatureDescription &Description() const { return m_description; }
    GenTL::internal::genapi::Access AccessOf(const std::string &name);

    // These three throw GenApiError, and std::runtime_error where there is no such feature or the text is no
    // value of it.
    std::string Read(const std::string &name);
    void Write(const std::string &name, const std::string &value);
    /// The values that a selector can have now.
    std::vector<std::string> ValuesOf(const std::string &selector);

    /// Whether two texts mean the same value of the feature. Floating-point numbers may differ by the
    /// rounding of a four-byte float.
    bool AreEqual(const std::string &name, const std::string &a, const std::string &b) const;

private:
    const GenTL::internal::genapi::Node &NodeOf(const std::string &name) const;

    const FeatureDescription &m_description;
    GenTL::internal::genapi::GraphFeatures &m_features;
};

} // namespace gentlctl
