#include "remote/scan3d_features.h"

#include "genapi/number.h"
#include "remote/entry_condition.h"
#include "utils/gentl_exception.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <string>

namespace GenTL::internal
{

using genapi::NodeId;
using genapi::Tag;

namespace
{

constexpr std::string_view modeFeature = "Scan3dOutputMode";
constexpr std::string_view coordinateFeature = "Scan3dCoordinateSelector";

} // namespace

Scan3dFeatures::Scan3dFeatures(const genapi::NodeGraph &graph, genapi::GraphFeatures &features,
                               IDelivery &delivery)
    : m_graph(graph), m_features(features), m_delivery(delivery)
{
}

int64_t Scan3dFeatures::OutputMode()
{
    if (Traits().isRaw)
    {
        return m_features.ReadInteger(modeFeature);
    }
    const auto name = ToString(m_delivery.OutputMode());
    const auto value = ValueOf(modeFeature, name);
    if (!value)
    {
        throw GenTLException(fmt::format("Scan3dOutputMode has no entry {}", name), GC_ERR_ERROR);
    }
    return *value;
}

void Scan3dFeatures::SetOutputMode(int64_t value)
{
    CheckNotRunning(m_delivery, modeFeature);
    const auto *const made = MadeOutputMode(EntryOf(modeFeature, value));
    // The processing works on raw depth, whatever it makes of it.
    const auto ofDevice =
        made != nullptr ? ValueOf(modeFeature, ToString(Scan3dOutputMode::UncalibratedC)) : value;
    if (made != nullptr && !made->isRaw)
    {
        Calibrate(made->mode, ofDevice);
    }
    else
    {
        WriteDevice(modeFeature, ofDevice);
        m_delivery.SetOutputMode(Scan3dOutputMode::UncalibratedC);
    }
    if (!Traits().hasGrid)
    {
        m_coordinate = Scan3dCoordinate::CoordinateC;
    }
}

/// The device is told last, since the delivery may refuse the mode.
void Scan3dFeatures::Calibrate(Scan3dOutputMode mode, std::optional<int64_t> ofDevice)
{
    const auto previous = m_delivery.OutputMode();
    m_delivery.SetOutputMode(mode);
    try
    {
        WriteDevice(modeFeature, ofDevice);
    }
    catch (...)
    {
        m_delivery.SetOutputMode(previous);
        throw;
    }
}

int64_t Scan3dFeatures::Coordinate()
{
    const auto value =
        ValueOf(coordinateFeature, ToString(m_coordinate).substr(std::string("Scan3d").size()));
    return Traits().hasGrid && value ? *value : m_features.ReadInteger(coordinateFeature);
}

void Scan3dFeatures::SetCoordinate(int64_t value)
{
    const auto coordinate = Scan3dCoordinateOf(EntryOf(coordinateFeature, value));
    if (Traits().hasGrid && coordinate)
    {
        m_coordinate = *coordinate;
        return;
    }
    WriteDevice(coordinateFeature, value);
}

bool Scan3dFeatures::IsOffered(NodeId entry)
{
    return Traits().hasGrid || (IsConditionMet(m_graph, m_features, entry, Tag::pIsImplemented) &&
                                IsConditionMet(m_graph, m_features, entry, Tag::pIsAvailable));
}

double Scan3dFeatures::Value(std::string_view feature)
{
    const auto traits = Traits();
    if (traits.isRaw)
    {
        return m_features.ReadFloat(feature);
    }
    if (feature == "Scan3dCoordinateScale")
    {
        return 1;
    }
    if (feature == "Scan3dAxisMin")
    {
        return m_delivery.AxisRange(m_coordinate).first;
    }
    if (feature == "Scan3dAxisMax")
    {
        return m_delivery.AxisRange(m_coordinate).second;
    }
    if (feature == "Scan3dInvalidDataFlag")
    {
        // In the grid, only the depth says whether a pixel is valid.
        return !traits.hasGrid || m_coordinate == Scan3dCoordinate::CoordinateC ? 1 : 0;
    }
    return 0; // Scan3dCoordinateOffset, Scan3dInvalidDataValue
}

std::optional<int64_t> Scan3dFeatures::ValueOf(std::string_view enumeration, std::string_view entry) const
{
    const auto id = m_graph.Find(enumeration);
    if (id == genapi::noNode)
    {
        return std::nullopt;
    }
    for (const auto &property : m_graph.PropertiesOf(id))
    {
        if (property.tag == Tag::EnumEntry && m_graph[property.target].name == entry)
        {
            const auto *const value = m_graph.Find(property.target, Tag::Value);
            return value != nullptr ? genapi::ParseInteger(value->Text()) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::string_view Scan3dFeatures::EntryOf(std::string_view enumeration, int64_t value) const
{
    for (const auto &property : m_graph.PropertiesOf(m_graph.Find(enumeration)))
    {
        if (property.tag != Tag::EnumEntry)
        {
            continue;
        }
        const auto *const literal = m_graph.Find(property.target, Tag::Value);
        if (literal != nullptr && genapi::ParseInteger(literal->Text()) == value)
        {
            return m_graph[property.target].name;
        }
    }
    throw GenTLException(fmt::format("{} has no entry of the value {}", enumeration, value),
                         GC_ERR_INVALID_VALUE);
}

void Scan3dFeatures::WriteDevice(std::string_view enumeration, std::optional<int64_t> value)
{
    if (value && utils::Try([&] { return m_features.ReadInteger(enumeration); }) != value)
    {
        m_features.WriteInteger(enumeration, *value);
    }
}

} // namespace GenTL::internal
