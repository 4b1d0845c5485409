// The node graph of a device: whatever the description and the registers hold, each feature is read and
// written, or an exception tells why not. The input is a description, and behind its first zero the
// registers.

#include "fuzz/try.h"
#include "genapi/graph_features.h"
#include "genapi/graph_walks.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace
{

using namespace GenTL::internal;
using namespace GenTL::internal::genapi;

/// 256 registers of one byte, which repeat over all addresses.
class RepeatingRegisters final : public IRegisterPort
{
public:
    explicit RepeatingRegisters(std::span<const uint8_t> content)
    {
        std::copy_n(content.begin(), std::min(content.size(), m_bytes.size()), m_bytes.begin());
    }

    void Read(uint64_t address, void *data, size_t size) override
    {
        for (size_t i = 0; i < size; ++i)
        {
            static_cast<uint8_t *>(data)[i] = m_bytes[(address + i) % m_bytes.size()];
        }
    }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        for (size_t i = 0; i < size; ++i)
        {
            m_bytes[(address + i) % m_bytes.size()] = static_cast<const uint8_t *>(data)[i];
        }
    }

private:
    std::array<uint8_t, 256> m_bytes{};
};

/// Performs every operation on a feature.
void Use(GraphFeatures &features, std::string_view name)
{
    features.AccessOf(name);
    Try([&] { features.ReadInteger(name); });
    Try([&] { features.ReadText(name); });
    Try([&] { features.WriteText(name, features.ReadText(name)); });
    Try([&] { features.WriteBytes(name, features.ReadBytes(name)); });
    Try([&] { features.WriteInteger(name, features.LimitsOf<int64_t>(name).max); });
    Try([&] { features.WriteFloat(name, features.LimitsOf<double>(name).min); });
    Try(
        [&]
        {
            for (const auto &entry : features.EntriesOf(name))
            {
                Try([&] { features.WriteInteger(name, entry.value); });
            }
        });
    Try([&] { features.Execute(name); });
    Try([&] { features.Literals().Set(name, features.ReadFloat(name)); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *const end = std::find(data, data + size, uint8_t{0});
    pugi::xml_document document;
    if (!document.load_buffer(data, static_cast<size_t>(end - data)))
    {
        return 0;
    }
    Try(
        [&]
        {
            const NodeGraph graph(document);
            RepeatingRegisters port({end, data + size});
            GraphFeatures features(graph, port);
            StaticRanges(graph);
            // More nodes only repeat what a few show, and cost the search its speed.
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
