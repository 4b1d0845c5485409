#include "remote/edited_view.h"

#include "port/i_port.h"
#include "remote/depth_state.h"
#include "remote/feature_places.h"
#include "utils/at_end.h"
#include "utils/checks.h"
#include "utils/try.h"

#include <bit>
#include <cstring>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr std::string_view componentSelector = "ComponentSelector";

/// The content of a register: an integer, or the bits of a floating number.
int64_t BitsOf(const genapi::Number &number, bool isFloat)
{
    return isFloat ? std::bit_cast<int64_t>(number.Float()) : number.Integer().value_or(0);
}

} // namespace

EditedView::EditedView(EditedDescription description, const pugi::xml_node &root, std::string_view lowerName,
                       const genapi::NodeGraph &graph, genapi::GraphFeatures &features, IDelivery &delivery,
                       IPort &lower)
    : m_description(std::move(description)), m_url(m_description, root, lowerName), m_features(features),
      m_delivery(delivery), m_lower(lower), m_formats(m_description, graph, features, delivery),
      m_scan3d(graph, features, delivery), m_window(m_description.base, m_description.document)
{
    AddRegisters();
}

void EditedView::AddRegisters()
{
    for (const auto &entry : m_description.registers)
    {
        RegisterWindow::Register added{.name = entry.node, .read = {}, .write = {}};
        added.read = [this, &entry](std::span<uint8_t> bytes)
        {
            const auto value = ReadNumber(entry);
            std::memcpy(bytes.data(), &value, sizeof value);
        };
        if (entry.isWritable)
        {
            added.write = [this, &entry](std::span<const uint8_t> bytes)
            {
                int64_t value = 0;
                std::memcpy(&value, bytes.data(), sizeof value);
                WriteNumber(entry, value);
            };
        }
        m_window.Add(std::move(added));
    }
}

void EditedView::ReadPort(uint64_t address, void *buffer, size_t *size)
{
    utils::CheckNotNull({{"piSize", size}, {"pBuffer", buffer}});
    utils::CheckNotZero("*piSize", *size);
    if (!TouchesWindow(address, *size))
    {
        return m_lower.ReadRegisters(address, buffer, size);
    }
    const utils::MutexLock lock(m_lock);
    m_window.Read(address, {static_cast<uint8_t *>(buffer), *size});
}

void EditedView::WritePort(uint64_t address, const void *buffer, size_t *size)
{
    utils::CheckNotNull({{"piSize", size}, {"pBuffer", buffer}});
    utils::CheckNotZero("*piSize", *size);
    const auto forget = [this] { m_features.Invalidate(); };
    const utils::AtEnd invalidate(forget);
    if (!TouchesWindow(address, *size))
    {
        return m_lower.WriteRegisters(address, buffer, size);
    }
    const utils::MutexLock lock(m_lock);
    m_window.Write(address, {static_cast<const uint8_t *>(buffer), *size});
}

void EditedView::NoticeWrite(uint64_t address, size_t size)
{
    const utils::MutexLock lock(m_lock);
    if (Touches(m_features, componentSelector, address, size))
    {
        NoteImages();
    }
    if (Touches(m_features, "UserSetLoad", address, size))
    {
        m_formats.ForgetImages();
    }
}

/// What the selected component sends shows only as long as it is selected.
void EditedView::NoteImages()
{
    utils::Try([this] { return m_formats.Images(); });
}

void EditedView::GetPortUrl(char *text, size_t *size) const
{
    utils::CheckNotNull("piSize", size);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    utils::WriteStringInfo(m_url.Text(), &type, text, size);
}

void EditedView::GetPortUrlInfo(uint32_t index, URL_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                                size_t *size) const
{
    utils::CheckNotNull({{"piType", type}, {"piSize", size}});
    utils::CheckIndex(index, 1);
    utils::WriteInfo(m_url.Answer(command), type, buffer, size);
}

DeviceState EditedView::ReadDeviceState(std::optional<uint64_t> streamPayloadSize)
{
    const utils::MutexLock lock(m_lock);
    DeviceState state;
    state.payloadSize = streamPayloadSize;
    if (!state.payloadSize && m_features.Has("PayloadSize"))
    {
        state.payloadSize =
            utils::Try([this] { return static_cast<uint64_t>(m_features.ReadInteger("PayloadSize")); });
    }
    if (!m_description.formats.empty())
    {
        state.images = m_formats.Images();
        state.unseen = m_formats.UnseenImages();
    }
    if (m_description.isScan3d)
    {
        state.scan3d = ReadDepthEncoding(m_features);
        state.geometry = ReadGeometry(m_features);
    }
    return state;
}

std::shared_ptr<const std::vector<uint8_t>> EditedView::Lens()
{
    const utils::MutexLock lock(m_lock);
    return m_delivery.Lens();
}

Scan3dInfo EditedView::ReadEncoding()
{
    const utils::MutexLock lock(m_lock);
    return ReadDepthEncoding(m_features);
}

bool EditedView::SendsRawDepth()
{
    const utils::MutexLock lock(m_lock);
    const auto mode = utils::Try([this] { return m_features.ReadText("Scan3dOutputMode"); });
    return !mode || mode == ToString(Scan3dOutputMode::UncalibratedC);
}

bool EditedView::TouchesWindow(uint64_t address, size_t size) const
{
    return HasWindow() && m_window.IsTouchedBy(address, size);
}

int64_t EditedView::ReadNumber(const EditedRegister &entry)
{
    switch (entry.role)
    {
    case RegisterRole::PixelFormat:
        return m_formats.Read();
    case RegisterRole::EntryImplemented:
        return m_formats.IsImplemented(entry.entry) ? 1 : 0;
    case RegisterRole::EntryAvailable:
        return m_formats.IsAvailable(entry.entry) ? 1 : 0;
    case RegisterRole::PixelFormatTransport:
        return static_cast<int64_t>(m_formats.Transport());
    case RegisterRole::PayloadSize:
        return static_cast<int64_t>(m_delivery.PayloadSize());
    case RegisterRole::PixelSize:
        return m_formats.PixelSize();
    case RegisterRole::Scan3dOutputMode:
        return m_scan3d.OutputMode();
    case RegisterRole::Scan3dDepthOffered:
        return m_delivery.OffersDepth() ? 1 : 0;
    case RegisterRole::Scan3dCoordinate:
        return m_scan3d.Coordinate();
    case RegisterRole::Scan3dCoordinateOffered:
        return m_scan3d.IsOffered(entry.coordinate) ? 1 : 0;
    case RegisterRole::Scan3dValue:
        return BitsOf(m_scan3d.Value(entry.subject), entry.isFloat);
    case RegisterRole::Literal:
        break;
    }
    return BitsOf(m_features.Literals().Read(entry.subject), entry.isFloat);
}

void EditedView::WriteLiteral(const EditedRegister &entry, int64_t value)
{
    if (entry.subject == componentSelector)
    {
        NoteImages();
    }
    m_features.Literals().Set(entry.subject, entry.isFloat ? genapi::Number(std::bit_cast<double>(value))
                                                           : genapi::Number(value));
}

void EditedView::WriteNumber(const EditedRegister &entry, int64_t value)
{
    switch (entry.role)
    {
    case RegisterRole::PixelFormat:
        return m_formats.Write(value);
    case RegisterRole::PixelFormatTransport:
        return m_formats.SetTransport(value);
    case RegisterRole::Scan3dOutputMode:
        return m_scan3d.SetOutputMode(value);
    case RegisterRole::Scan3dCoordinate:
        return m_scan3d.SetCoordinate(value);
    case RegisterRole::Literal:
        return WriteLiteral(entry, value);
    default:
        throw GenTLException(fmt::format("{} is read-only", entry.node), GC_ERR_ACCESS_DENIED);
    }
}

} // namespace GenTL::internal
