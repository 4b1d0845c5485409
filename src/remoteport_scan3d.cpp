// What the device tells of its 3D output and of its image geometry, and what the consumer sees of it once
// the processing has calibrated it.

#include "nodemap/node_access.h"
#include "remoteport.h"
#include "utils/file_access.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

namespace GenTL::internal
{

using tarn::common::Metadata;
using tarn::common::Rectangle;

void RemotePort::ReadScan3dInfo()
{
    Scan3dInfo info{};
    info.scan3dCoordinateScale = ReadOptionalFloat("Scan3dCoordinateScale");
    info.scan3dAxisMax = ReadOptionalFloat("Scan3dAxisMax");
    info.scan3dAxisMin = ReadOptionalFloat("Scan3dAxisMin");
    info.scan3dCoordinateOffset = ReadOptionalFloat("Scan3dCoordinateOffset");
    info.scan3dInvalidDataValue = ReadOptionalFloat("Scan3dInvalidDataValue");
    const std::string flag = "Scan3dInvalidDataFlag";
    if (const auto node = TryFindNode(flag); node && IsReadable(*node))
    {
        info.scan3dInvalidDataFlag = nodemap::IsTrue(*this, Parser(), flag);
    }
    m_processor->SetScan3dInfo(info);
    ReadOutputModes();
    ReadLensCalibration();
    m_processor->SetMetadata(ReadMetadata());
    m_processor->SetMetadataCallback([this] { return ReadMetadata(); });
}

void RemotePort::ReadOutputModes()
{
    const auto node = TryFindNode("Scan3dOutputMode");
    if (!node || !IsReadable(*node))
    {
        return;
    }
    m_outputModes.clear();
    for (const auto &entry : node->EnumEntries)
    {
        m_outputModes.emplace_back(Scan3dOutputModeOf(entry.Name), std::get<int64_t>(entry.Value));
    }
}

void RemotePort::ReadLensCalibration()
{
    const std::string name = "LensCalibrationData";
    try
    {
        const utils::FileAccess files(*this, Parser());
        // The answers are of no use, but a device without file access fails here.
        files.AvailableFiles();
        files.FileSize(name);
        m_processor->SetLensCalibrationData(files.ReadFile(name));
    }
    catch (const std::exception &exception)
    {
        // Ordinary: most devices have none.
        SPDLOG_ERROR("{}", exception.what());
    }
}

bool RemotePort::IsReadable(const NodeInfo &node)
{
    return node.AccessMode != nodemap::AccessMode::WO &&
           nodemap::IsTrue(*this, Parser(), node.pIsAvailable) &&
           nodemap::IsTrue(*this, Parser(), node.pIsImplemented);
}

std::optional<double> RemotePort::ReadOptionalFloat(const std::string &name)
{
    const auto node = TryFindNode(name);
    if (!node || !IsReadable(*node))
    {
        return std::nullopt;
    }
    return nodemap::ReadFloat(*this, Parser(), *node);
}

Metadata RemotePort::ReadMetadata()
{
    if (!m_parser || !m_parser->IsValid())
    {
        throw GenTLException("XML not parsed or not valid!", GC_ERR_ERROR);
    }
    Metadata metadata;
    const auto offsetX = TryFindNode("OffsetX");
    const auto offsetY = TryFindNode("OffsetY");
    const auto height = TryFindNode("Height");
    const auto width = TryFindNode("Width");
    if (offsetX && offsetY && height && width)
    {
        metadata.Set("Roi", Rectangle{nodemap::ReadUnsigned32(*this, *offsetX),
                                      nodemap::ReadUnsigned32(*this, *offsetY),
                                      nodemap::ReadUnsigned32(*this, *width),
                                      nodemap::ReadUnsigned32(*this, *height)});
    }
    const auto binning = ReadFactors("Binning");
    const auto decimation = ReadFactors("Decimation");
    metadata.Set("BinningHorizontal", uint64_t{binning.first * decimation.first});
    metadata.Set("BinningVertical", uint64_t{binning.second * decimation.second});
    return metadata;
}

// The selector stays where it ends up.
std::pair<uint32_t, uint32_t> RemotePort::ReadFactors(const std::string &prefix)
{
    const auto selector = TryFindNode(prefix + "Selector");
    const auto horizontal = TryFindNode(prefix + "Horizontal");
    const auto vertical = TryFindNode(prefix + "Vertical");
    std::pair<uint32_t, uint32_t> factors{1, 1};
    if (!selector || !horizontal || !vertical)
    {
        return factors;
    }
    for (const auto &entry : nodemap::GetAvailableEnumEntries(*this, Parser(), *selector))
    {
        nodemap::SetEnumEntry(*this, Parser(), *selector, entry);
        factors.first *= nodemap::ReadUnsigned32(*this, *horizontal);
        factors.second *= nodemap::ReadUnsigned32(*this, *vertical);
    }
    return factors;
}

} // namespace GenTL::internal
