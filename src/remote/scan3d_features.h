#pragma once

#include "genapi/graph_features.h"
#include "remote/i_delivery.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

/// The Scan3d features as the consumer of a calibrated 3D device sees them: those of the depth that is
/// delivered. While the device's raw depth passes through, they are the device's own.
///
/// Remembers nothing but the selected coordinate of a grid, which the device does not have. Owned by
/// EditedView, under whose lock it is used. What it refers to must outlive it.
class Scan3dFeatures
{
public:
    Scan3dFeatures(const genapi::NodeGraph &graph, genapi::GraphFeatures &features, IDelivery &delivery);

    /// The value of the entry of Scan3dOutputMode.
    /// @throws GenTLException GC_ERR_ERROR for a mode without entry; failures of the device
    int64_t OutputMode();
    /// Sets the mode. The processing makes it from the device's raw depth, if it can; otherwise the device
    /// makes it.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_INVALID_VALUE for a value
    /// without entry; failures of the device
    void SetOutputMode(int64_t value);

    /// The value of the entry of Scan3dCoordinateSelector.
    int64_t Coordinate();
    void SetCoordinate(int64_t value);
    /// Whether a coordinate that only a grid has can be selected.
    /// @param entry of the device's selector
    bool IsOffered(genapi::NodeId entry);

    /// Scale, offset, axes, and invalid data, by the name of the feature.
    double Value(std::string_view feature);

private:
    OutputModeTraits Traits() const { return TraitsOf(m_delivery.OutputMode()); }
    /// The value of an enumeration's entry of this name.
    std::optional<int64_t> ValueOf(std::string_view enumeration, std::string_view entry) const;
    /// The name of an enumeration's entry with this value.
    /// @throws GenTLException GC_ERR_INVALID_VALUE there is none
    std::string_view EntryOf(std::string_view enumeration, int64_t value) const;
    void Calibrate(Scan3dOutputMode mode, std::optional<int64_t> ofDevice);
    /// Writes an enumeration of the device's, unless it has the value or there is none.
    void WriteDevice(std::string_view enumeration, std::optional<int64_t> value);

    const genapi::NodeGraph &m_graph;
    genapi::GraphFeatures &m_features;
    IDelivery &m_delivery;
    Scan3dCoordinate m_coordinate = Scan3dCoordinate::CoordinateC;
};

} // namespace GenTL::internal
