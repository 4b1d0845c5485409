#pragma once

#include "genapi/graph_features.h"
#include "processing/conversion_processor.h"
#include "remote/edited_description.h"
#include "remote/i_delivery.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace GenTL::internal
{

/// PixelFormat as the consumer sees it: what the processing makes of the format that the device has now.
///
/// Remembers conversions and not the format, so a loaded user set, or a write past the producer, shows at the
/// next read. Owned by EditedView, under whose lock it is used. What it refers to must outlive it.
class FormatChoice
{
public:
    FormatChoice(const EditedDescription &description, const genapi::NodeGraph &graph,
                 genapi::GraphFeatures &features, IDelivery &delivery);

    /// The value of the entry that names the delivered format; the device's own value if there is none.
    /// @throws GenTLException the device's format cannot be read
    int64_t Read();
    /// Sets the device to a format from which the entry's format can be made, and sets the conversion.
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs or when the device's format is
    /// locked; GC_ERR_INVALID_VALUE for a value without entry, and when nothing that it can be made from is
    /// available; whatever writing the device's format fails with
    void Write(int64_t value);

    /// Whether the device has the entry, or one from which it is made.
    bool IsImplemented(size_t entry);
    bool IsAvailable(size_t entry);

    FormatTransport Transport() const { return m_transport; }
    /// Chooses the device's format for the current PixelFormat again.
    /// @throws as Write; the old value stays then
    void SetTransport(int64_t value);

    /// The value of PixelSize for what is delivered.
    int64_t PixelSize();

    /// The device's images, as far as its features tell: the one of the selected component, and those of
    /// components that were selected when this was called before.
    std::vector<DeviceImage> Images();
    /// Images that further components may send, which Images has not seen, in the size of the others.
    std::vector<DeviceImage> UnseenImages();
    /// Forgets the components that are not selected: the device may have changed them.
    void ForgetImages() { m_seen.clear(); }

private:
    /// The device's format and what it means.
    struct Current
    {
        int64_t value = 0;
        const FormatEntry *entry = nullptr; ///< null: the value is no entry of the device's
        Component component{};

        bool IsKnown() const { return entry != nullptr && entry->format != nullptr; }
    };

    Current ReadDevice();
    Component SelectedComponent(const FormatEntry *entry);
    /// The entry of what is delivered; the device's own if there is none.
    const FormatEntry *Delivered(const Current &current) const;
    /// The position of the device's entry to set.
    /// @param current the device's value, if it can be read
    size_t ChooseInput(const FormatEntry &wanted, std::optional<int64_t> current);
    /// The format that the output mode of a 3D device makes of depth, if it makes one.
    std::optional<IDelivery::PixelFormat> DepthFormat() const;
    bool IsUsable(size_t entry);
    /// The smallest format of the device's raw depth; null where there is none.
    const tarn::common::FormatInfo *SmallestDepth() const;
    tarn::common::Size ReadSize();

    const EditedDescription &m_description;
    const genapi::NodeGraph &m_graph;
    genapi::GraphFeatures &m_features;
    IDelivery &m_delivery;
    FormatTransport m_transport = FormatTransport::Requested;
    std::map<Component, std::optional<DeviceImage>> m_seen; ///< none: the component is disabled
};

} // namespace GenTL::internal
