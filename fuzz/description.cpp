// Descriptions of a device: whatever their content, access to a feature succeeds or throws an exception.

#include "fuzz/try.h"
#include "nodemap/node_access.h"
#include "tests/nodemap/memory_port.h"

#include <spdlog/spdlog.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace
{

using namespace GenTL::internal;
using namespace GenTL::internal::nodemap;

/// Performs every operation on a feature.
void Use(const NodeMapParser &parser, const std::string &name)
{
    MemoryPort port(std::vector<uint8_t>(256, 1));
    Try([&] { IsTrue(port, parser, name); });
    Try([&] { parser.GetCategoryFeatures(name); });
    const auto node = parser.TryFindNode(name);
    if (!node)
    {
        return;
    }
    Try([&] { ReadInteger(port, *node); });
    Try([&] { ReadFloat(port, parser, *node); });
    Try([&] { GetEnumEntry(port, parser, *node); });
    Try([&] { GetAvailableEnumEntries(port, parser, *node); });
    Try([&] { SetEnumEntry(port, parser, *node, "E"); });
    Try([&] { WriteCommand(port, *node, 1); });
    for (const auto &bound : {node->Min, node->Max, node->Inc, node->Value})
    {
        Try([&] { GetBoundValue(port, parser, bound); });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    spdlog::set_level(spdlog::level::off);
    Try(
        [&]
        {
            const NodeMapParser parser({reinterpret_cast<const char *>(data), size});
            for (const auto *name : {"", "A", "B", "C", "K", "L", "S", "AReg", "BReg"})
            {
                Use(parser, name);
            }
        });
    return 0;
}
