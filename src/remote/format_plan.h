#pragma once

#include "common/format_table.h"
#include "genapi/node_graph.h"
#include "processing/conversion_table.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// An entry of PixelFormat as the consumer sees it.
struct FormatEntry
{
    std::string name;
    int64_t value = 0;
    /// Null for an unknown format, and for an entry whose name and value contradict each other.
    const tarn::common::FormatInfo *format = nullptr;
    /// The device's entry in its description; noNode for one that only a conversion makes.
    genapi::NodeId device = genapi::noNode;
    /// Positions of the device's entries from which a conversion makes this one, those with the fewest bits
    /// first.
    std::vector<size_t> inputs;

    bool IsDevices() const { return device != genapi::noNode; }
};

/// The entries of a device's PixelFormat, in order, and behind them those that conversions add.
///
/// An added entry has the published name and code of its format; where the code is taken as a value, the next
/// free one above 2^32. A format is not added if another entry has its name.
/// @param pixelFormat the Enumeration in the graph
std::vector<FormatEntry> PlanFormats(const genapi::NodeGraph &graph, genapi::NodeId pixelFormat,
                                     const ConversionTable &conversions);

/// Adds the formats of the 3D output modes that the device's list lacks.
void AddDepthFormats(std::vector<FormatEntry> &entries);

/// The value for an entry that is added: `wanted`, or if an entry has it, the next free one above 2^32.
int64_t FreeValue(int64_t wanted, std::span<const int64_t> taken);

/// The bits of a pixel in the formats that the processing makes, each once, ascending.
/// @param isScan3d whether 3D output modes make formats, too
std::vector<uint32_t> MadeDepths(std::span<const FormatEntry> entries, bool isScan3d);

} // namespace GenTL::internal
