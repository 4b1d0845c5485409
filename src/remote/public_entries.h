#pragma once

#include "genapi/node_graph.h"
#include "remote/document_edits.h"
#include "remote/edit_plan.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Bits of a pixel, and the value of PixelSize that stands for them.
using PixelSizes = std::vector<std::pair<uint32_t, int64_t>>;

/// The entries of the enumerations that take the place of the device's: all of the device's in their order,
/// and those that only the processing makes. Those that do not depend on the processing keep their
/// conditions.
///
/// Made by DescriptionEditor for one edit, on its thread; what it refers to must outlive it.
class PublicEntries
{
public:
    PublicEntries(const genapi::NodeGraph &graph, const EditPlan &plan, const DocumentEdits &edits);

    /// The elements of a replaced feature's entries; empty for a feature that is no enumeration.
    std::string Of(const ReplacedFeature &replaced) const;
    /// The entries BppN of PixelSize with the added ones; empty for a PixelSize that is no enumeration.
    PixelSizes Depths() const;

private:
    std::string PixelFormats() const;
    std::string PixelSizeEntries(genapi::NodeId pixelSize) const;
    std::string OutputModes(genapi::NodeId outputMode) const;
    std::string Coordinates(genapi::NodeId selector) const;
    /// An entry of the device's with other conditions.
    std::string WithConditions(const pugi::xml_node &entry, std::string_view conditions) const;
    std::string Conditions(size_t implemented, size_t available) const;
    std::vector<genapi::NodeId> EntriesOf(genapi::NodeId enumeration) const;
    int64_t ValueOf(genapi::NodeId entry) const;

    const genapi::NodeGraph &m_graph;
    const EditPlan &m_plan;
    const DocumentEdits &m_edits;
};

} // namespace GenTL::internal
