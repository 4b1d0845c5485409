#pragma once

#include "genapi/graph_walks.h"
#include "genapi/node_graph.h"
#include "processing/conversion_table.h"
#include "remote/document_edits.h"
#include "remote/edited_description.h"
#include "remote/feature_move.h"
#include "remote/format_plan.h"
#include "remote/register_plan.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// A device's description, and what is known about it.
struct DeviceDocument
{
    std::string_view text;
    pugi::xml_node root; ///< of the tree that was parsed from the text
    const genapi::NodeGraph &graph;
    genapi::AddressRange range; ///< where the device has it
};

/// Makes the description that the consumer gets: PixelFormat, PayloadSize and PixelSize of what the
/// processing delivers, at registers of our own; the device's own beside them; and the category ProxyControl.
///
/// Depends on nothing but the document and the conversions: not on the device's state nor on time. A feature
/// that the document lacks, or has in a form that cannot be replaced, is left out. Used once, by one thread.
class DescriptionEditor
{
public:
    /// @param conversions must outlive the editor
    DescriptionEditor(const DeviceDocument &device, const ConversionTable &conversions);

    /// The edited description. Without a port or a free window it is the device's, and has no registers.
    EditedDescription Edit();

private:
    /// The features of the device that get another name; noNode for one that stays as it is.
    struct Replaced
    {
        genapi::NodeId pixelFormat = genapi::noNode;
        genapi::NodeId pixelSize = genapi::noNode;
        genapi::NodeId payloadSize = genapi::noNode;
    };

    /// The planned registers by their position; the conditions by their entry.
    struct Positions
    {
        std::optional<size_t> pixelFormat;
        std::optional<size_t> transport;
        std::optional<size_t> pixelSize;
        std::optional<size_t> payloadSize;
        std::map<size_t, std::pair<size_t, size_t>> conditions;
    };

    void PlanPixelFormat();
    void PlanSizes();
    void PlanLiterals();

    void MoveFeatures();
    void AddPublicFeatures(const std::vector<FeatureMove> &moves);
    std::string PixelFormatEntries() const;
    std::string PixelSizeEntries();
    void AddTransport();
    void AddPayloadSize();
    void AddCategory();
    std::string RegisterElements(uint64_t first) const;
    void Finish(uint64_t base);
    /// The element that refers to a planned register.
    std::string Reference(std::string_view element, size_t position) const;

    DeviceDocument m_device;
    const ConversionTable &m_conversions;
    DocumentEdits m_edits;
    RegisterPlan m_plan;
    Replaced m_replaced;
    Positions m_positions;
    std::vector<std::string> m_listed; ///< names of the features in our category
    std::string m_group;               ///< our features
    EditedDescription m_result;
};

} // namespace GenTL::internal
