#include "consumer/description_tree.h"

#include "consumer/description.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

void Load(GenTL::internal::IPort &port, pugi::xml_document &document)
{
    const auto text = LoadDescription(port);
    document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    std::string_view root = document.document_element().name();
    root.remove_prefix(root.find(':') + 1);
    if (root != "RegisterDescription")
    {
        throw std::runtime_error("The module's description is not a GenICam description");
    }
}

/// The number of a ChunkID or an EventID, which is hexadecimal with or without a prefix.
std::optional<uint64_t> IdIn(std::string_view text)
{
    const auto digits = text.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    uint64_t id = 0;
    const auto error = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16).ec;
    return error == std::errc() ? std::optional(id) : std::nullopt;
}

void RemoveProperty(const Property &property)
{
    property.element.parent().remove_child(property.element);
}

} // namespace

DescriptionTree::DescriptionTree(GenTL::internal::IPort &port)
{
    Load(port, m_document);
    const NodeGraph graph(m_document);
    FindTransientPorts(graph);
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        MoveChunk(graph, id);
        LeaveWritesToTheDevice(graph, id);
    }
}

void DescriptionTree::FindTransientPorts(const NodeGraph &graph)
{
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        const std::string name(graph[id].name);
        const auto *const chunk = graph.Find(id, Tag::ChunkID);
        if (graph[id].kind != NodeKind::Port)
        {
            continue;
        }
        if (chunk != nullptr || graph.Find(id, Tag::pChunkID) != nullptr)
        {
            m_transientPorts[name] = {"only with a frame", {}, {}};
        }
        else if (const auto *const event = graph.Find(id, Tag::EventID))
        {
            m_transientPorts[name] = {"only with an event", {}, IdIn(event->Text())};
            RemoveProperty(*event);
        }
        if (const auto number = chunk == nullptr ? std::nullopt : IdIn(chunk->Text()))
        {
            m_transientPorts[name].chunkId = number;
            m_chunkIds.push_back(*number);
            RemoveProperty(*chunk);
        }
    }
    std::ranges::sort(m_chunkIds);
    m_chunkIds.erase(std::unique(m_chunkIds.begin(), m_chunkIds.end()), m_chunkIds.end());
}

void DescriptionTree::LeaveWritesToTheDevice(const NodeGraph &graph, NodeId id)
{
    for (const auto &property : graph.PropertiesOf(id))
    {
        if (property.tag == Tag::pIsLocked)
        {
            m_locks.emplace(graph[id].name, property.Text());
            RemoveProperty(property);
        }
    }
    if (IsRegister(graph[id].kind) && graph.FindInherited(id, Tag::AccessMode) == nullptr)
    {
        auto element = graph[id].element;
        element.append_child("AccessMode").text().set("RW");
    }
}

/// Moves a register that lies in a chunk. The addresses of a register add up, so another one shifts it.
void DescriptionTree::MoveChunk(const NodeGraph &graph, NodeId id) const
{
    const auto *const port = graph.Find(id, Tag::pPort);
    const auto transient = port == nullptr ? m_transientPorts.end() : m_transientPorts.find(port->Text());
    if (transient != m_transientPorts.end() && transient->second.chunkId)
    {
        const auto place = std::ranges::find(m_chunkIds, *transient->second.chunkId) - m_chunkIds.begin();
        auto element = graph[id].element;
        const auto address = fmt::format("{:#x}", ChunkAddress(static_cast<size_t>(place)));
        element.append_child("Address").text().set(address.c_str());
    }
}

} // namespace gentlctl
