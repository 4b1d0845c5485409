#pragma once

#include "genapi/node_graph.h"
#include "processing/conversion_table.h"
#include "remote/edited_description.h"
#include "remote/format_plan.h"
#include "remote/register_plan.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// A feature of the device that a public feature replaces.
struct ReplacedFeature
{
    genapi::NodeId feature = genapi::noNode;
    std::string deviceName; ///< the new name of the device's feature, still without suffix
    bool isShown = false;   ///< in the category ProxyControl
    size_t position = 0;    ///< of the register with the value
    /// Further nodes with the feature's name, which no reference means, and new names for them, still without
    /// suffix. Under the old name, a consumer might take one of them for the public feature.
    std::vector<std::pair<genapi::NodeId, std::string>> twins;
};

/// What the editor does to a description, decided from its graph alone: nothing is written yet.
struct EditPlan
{
    RegisterPlan registers;
    std::vector<ReplacedFeature> replaced{};
    std::vector<FormatEntry> formats{}; ///< empty when PixelFormat stays
    bool isScan3d = false;
    std::optional<size_t> transport{};        ///< the register of PixelFormatTransport
    std::optional<size_t> depthOffered{};     ///< the register, where there are output modes
    std::optional<size_t> addedPayloadSize{}; ///< the register, where the device lacks the feature
    /// The registers for implemented and available, by the position of their entry of PixelFormat. Other
    /// entries keep the device's conditions.
    std::map<size_t, std::pair<size_t, size_t>> formatConditions{};
    /// The same for entries of Scan3dCoordinateSelector, by node; one register for both.
    std::map<genapi::NodeId, size_t> coordinateConditions{};
};

/// Plans the edit of a description with a port. The graph must outlive the plan.
EditPlan PlanEdit(const genapi::NodeGraph &graph, const ConversionTable &conversions);

} // namespace GenTL::internal
