#pragma once

#include "remote/document_hash.h"
#include "remote/format_plan.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// What a register of the producer stands for.
enum class RegisterRole : uint8_t
{
    PixelFormat,             ///< value of an entry
    EntryImplemented,        ///< condition of an entry of PixelFormat
    EntryAvailable,          ///< the same
    PixelFormatTransport,    ///< a FormatTransport
    PayloadSize,             ///< bytes
    PixelSize,               ///< value of an entry BppN, or bits
    Literal,                 ///< literal value of a device's node that a consumer may write
    Scan3dOutputMode,        ///< value of an entry
    Scan3dDepthOffered,      ///< condition of the entries that the processing makes of raw depth
    Scan3dCoordinate,        ///< value of an entry of Scan3dCoordinateSelector
    Scan3dCoordinateOffered, ///< condition of such an entry
    Scan3dValue,             ///< scale, offset, limit or invalid data of depth
};

/// A register of the producer: 8 bytes, little-endian in the port.
struct EditedRegister
{
    RegisterRole role{};
    std::string node;                           ///< its name in the edited document
    std::string port;                           ///< the Port that it names
    size_t entry = 0;                           ///< conditions: the position in EditedDescription::formats
    std::string_view subject{};                 ///< a feature's value: the device's node
    genapi::NodeId coordinate = genapi::noNode; ///< Scan3dCoordinateOffered: the device's entry
    bool isWritable = false;
    bool isFloat = false;
    bool isSwapped = false; ///< the port turns the byte order around
};

/// Which input the device is set to when it has both the output itself and a packed form of it.
enum class FormatTransport : int64_t
{
    Requested = 0, ///< the output itself
    Packed = 1,    ///< the packed form
};

/// A device's description as the consumer gets it.
///
/// Refers to the device's graph, which must outlive it. The device's features keep their names in that graph.
struct EditedDescription
{
    std::string document;
    DocumentHash hash; ///< of the document without its VersionGuid
    uint64_t base = 0; ///< address of the document; 0 when no window was free
    /// In the order of their addresses, the first one at RegisterWindow::RegistersOffset of the document.
    std::vector<EditedRegister> registers;
    std::vector<FormatEntry> formats; ///< empty when PixelFormat was left alone
    bool isScan3d = false;            ///< whether the processing makes calibrated depth
    /// Bits of a pixel and the value of PixelSize that stands for them. Empty when PixelSize is a number.
    std::vector<std::pair<uint32_t, int64_t>> pixelSizes;
};

} // namespace GenTL::internal
