#pragma once

#include "genapi/graph_walks.h"
#include "genapi/node_graph.h"
#include "processing/conversion_table.h"
#include "remote/document_edits.h"
#include "remote/edit_plan.h"
#include "remote/edited_description.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
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

/// Makes the description that the consumer gets. PixelFormat, PayloadSize and PixelSize are those of what the
/// processing delivers, and stand at the producer's registers. The device's features stay beside them under
/// new names. The new category ProxyControl lists these.
///
/// Depends on nothing but the document and the conversions: not on the device's state nor on time. Leaves out
/// a feature that the document lacks or has in an irreplaceable form. Used once, by one thread.
class DescriptionEditor
{
public:
    /// @param conversions must outlive the editor
    DescriptionEditor(const DeviceDocument &device, const ConversionTable &conversions);

    /// The edited description. Without a port or a free window, the document is the device's, and there are
    /// no registers.
    EditedDescription Edit();

private:
    void MoveFeatures();
    void AddInvalidatorsFor(const ReplacedFeature &replaced);
    void BindLiterals();
    void AddTransport();
    void AddPayloadSize();
    void AddCategory();
    std::string RegisterElements(uint64_t first) const;
    void Finish();
    /// The element that refers to a planned register.
    std::string Reference(std::string_view element, size_t position) const;

    DeviceDocument m_device;
    const ConversionTable &m_conversions;
    DocumentEdits m_edits;
    EditPlan m_plan;
    std::vector<std::string> m_listed; ///< names of the features in ProxyControl
    std::string m_group;               ///< the elements of the new nodes
    EditedDescription m_result;
};

} // namespace GenTL::internal
