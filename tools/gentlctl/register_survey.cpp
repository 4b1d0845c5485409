#include "gentlctl/register_survey.h"

#include "consumer/device_file_access.h"
#include "gentlctl/selections.h"

#include "genapi/graph_walks.h"
#include "genapi/number.h"
#include "utils/try.h"

#include <algorithm>
#include <array>
#include <set>

namespace gentlctl
{

using namespace GenTL::internal::genapi;
using GenTL::internal::utils::Attempt;

namespace
{

/// The features that decide what a frame looks like. A replay has the frames that were recorded, so it holds
/// these features.
constexpr std::array layoutFeatures{
    "Width",
    "Height",
    "OffsetX",
    "OffsetY",
    "LinePitch",
    "BinningHorizontal",
    "BinningVertical",
    "DecimationHorizontal",
    "DecimationVertical",
    "ReverseX",
    "ReverseY",
    "PixelFormat",
    "ComponentEnable",
    "ChunkModeActive",
    "ChunkEnable",
    "ImageCompressionMode",
};

constexpr std::array fileFeatures{
    "FileSelector",        "FileOperationSelector", "FileOpenMode",
    "FileAccessOffset",    "FileAccessLength",      "FileAccessBuffer",
    "FileOperationStatus", "FileOperationResult",   "FileOperationExecute",
};

/// A write-only register that is longer does not belong to a feature.
constexpr uint64_t longestWriteOnly = 1U << 16U;

/// Whether a register behind a feature is big-endian.
bool IsBigEndian(const NodeGraph &graph, NodeId feature)
{
    const auto chain = ValueChain(graph, feature);
    return std::ranges::any_of(chain,
                               [&](NodeId id)
                               {
                                   const auto *order = graph.FindInherited(id, Tag::Endianess);
                                   return order != nullptr && order->Text() == "BigEndian";
                               });
}

std::vector<recording::Memory> MemoryOf(const RegisterLog::Blocks &blocks)
{
    std::vector<recording::Memory> memory;
    for (const auto &[address, bytes] : blocks)
    {
        memory.push_back({address, bytes});
    }
    return memory;
}

} // namespace

RegisterSurvey::RegisterSurvey(GenTL::internal::IPort &port)
    : m_description(port), m_registers(port, m_description.ChunkIds()), m_log(m_registers),
      m_features(m_description.Graph(), m_log)
{
}

recording::Registers RegisterSurvey::Run()
{
    recording::Registers result;
    auto memory = ReadAll();
    SelectionSurvey selections(m_description.Graph(), m_features, m_log);
    result.selections = selections.Run();
    memory.insert(selections.Others().begin(), selections.Others().end());
    AddWriteOnly(memory);
    result.memory = MemoryOf(memory);
    result.commands = Commands();
    result.layout = Layout();
    Attempt([&] { result.fileAccess = Files(); });
    return result;
}

/// Reads all named registers and StructEntry nodes, those behind the features included.
RegisterLog::Blocks RegisterSurvey::ReadAll()
{
    const auto &graph = m_description.Graph();
    m_log.Take();
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        const auto &node = graph[id];
        if (!node.name.empty() && graph.Find(node.name) == id &&
            (IsRegister(node.kind) || node.kind == NodeKind::StructEntry))
        {
            ReadAllOf(graph, m_features, std::string(node.name));
        }
    }
    return m_log.Take();
}

/// Adds the registers of features that cannot be read, as zeros.
void RegisterSurvey::AddWriteOnly(RegisterLog::Blocks &memory)
{
    std::set<std::string> inChunks;
    for (const auto &[name, chunk] : m_description.ChunkFeatures())
    {
        inChunks.insert(name);
    }
    for (const auto &name : m_description.Names())
    {
        if (inChunks.contains(name))
        {
            continue;
        }
        Attempt(
            [&]
            {
                for (const auto &place : PlacesOf(m_features, name))
                {
                    if (place.length <= longestWriteOnly)
                    {
                        memory.try_emplace(place.address, std::string(place.length, '\0'));
                    }
                }
            });
    }
}

std::vector<recording::FeaturePlace> RegisterSurvey::PlacesOfFeature(const std::string &name)
{
    std::vector<recording::FeaturePlace> places;
    if (!m_description.Has(name))
    {
        return places;
    }
    Attempt(
        [&]
        {
            const auto isBigEndian = IsBigEndian(m_description.Graph(), m_description.Find(name));
            for (const auto &place : PlacesOf(m_features, name))
            {
                places.push_back({name, place.address, place.length, isBigEndian});
            }
        });
    return places;
}

std::vector<recording::CommandPlace> RegisterSurvey::Commands()
{
    const auto &graph = m_description.Graph();
    std::vector<recording::CommandPlace> commands;
    for (const auto &name : m_description.Names())
    {
        const auto id = m_description.Find(name);
        if (graph[id].kind != NodeKind::Command)
        {
            continue;
        }
        for (const auto &place : PlacesOfFeature(name))
        {
            Attempt([&] { commands.push_back({place, CommandValue(id)}); });
        }
    }
    return commands;
}

/// The number that executes a command.
int64_t RegisterSurvey::CommandValue(NodeId command)
{
    const auto &graph = m_description.Graph();
    if (const auto *const value = graph.Find(command, Tag::pCommandValue);
        value != nullptr && value->target != noNode)
    {
        return m_features.ReadInteger(graph[value->target].name);
    }
    const auto *const literal = graph.Find(command, Tag::CommandValue);
    return literal == nullptr ? 1 : ParseInteger(literal->Text()).value_or(1);
}

std::vector<recording::FeaturePlace> RegisterSurvey::Layout()
{
    std::vector<recording::FeaturePlace> layout;
    for (const auto *name : layoutFeatures)
    {
        const auto places = PlacesOfFeature(name);
        layout.insert(layout.end(), places.begin(), places.end());
    }
    return layout;
}

std::vector<recording::NamedValue> RegisterSurvey::EntriesOf(const std::string &name)
{
    std::vector<recording::NamedValue> values;
    for (const auto &entry : m_features.EntriesOf(name))
    {
        values.push_back({std::string(entry.name), entry.value});
    }
    return values;
}

recording::FileAccess RegisterSurvey::Files()
{
    recording::FileAccess access;
    if (!std::ranges::all_of(fileFeatures, [&](const char *name) { return m_features.Has(name); }))
    {
        return access;
    }
    for (const auto *name : fileFeatures)
    {
        const auto places = PlacesOfFeature(name);
        access.places.insert(access.places.end(), places.begin(), places.end());
    }
    access.operations = EntriesOf("FileOperationSelector");
    access.statuses = EntriesOf("FileOperationStatus");
    const DeviceFileAccess reader(m_features);
    const auto selected = m_features.ReadInteger("FileSelector");
    for (const auto &name : reader.AvailableFiles())
    {
        Attempt(
            [&]
            {
                const auto content = reader.ReadFile(name);
                access.files.push_back({name, m_features.ReadInteger("FileSelector"),
                                        std::string(content.begin(), content.end())});
            });
    }
    Attempt([&] { m_features.WriteInteger("FileSelector", selected); });
    return access;
}

} // namespace gentlctl
