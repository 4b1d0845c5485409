// The node graph of a device: whatever the description and the registers hold, each feature is read and
// written, or an exception tells why not. The input is a description, and behind its first zero the
// registers.

#include "fuzz/features.h"
#include "genapi/graph_walks.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

using namespace fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const DocumentAndRegisters input(data, size);
    pugi::xml_document document;
    if (!document.load_buffer(input.document.data(), input.document.size()))
    {
        return 0;
    }
    Try(
        [&]
        {
            const NodeGraph graph(document);
            RepeatingRegisters port(input.registers);
            GraphFeatures features(graph, port);
            StaticRanges(graph);
            // More nodes find nothing new and slow the search down.
            const auto count = std::min<size_t>(graph.Size(), 200);
            for (NodeId id = 0; id < count; ++id)
            {
                ValueChain(graph, id);
                WritableLiteralsBehind(graph, std::array{id});
                Use(features, graph[id].name);
            }
        });
    return 0;
}
