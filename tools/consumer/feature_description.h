#pragma once

#include "consumer/description_tree.h"
#include "genapi/node_graph.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gentlctl
{

/// Writes a number in the form that a description asks for.
using NumberForm = std::string (*)(uint64_t);

/// The features in a module's description. Constant after construction.
class FeatureDescription
{
public:
    using NodeId = GenTL::internal::genapi::NodeId;

    /// @throws std::runtime_error the description cannot be loaded or read
    explicit FeatureDescription(GenTL::internal::IPort &port);
    FeatureDescription(const FeatureDescription &) = delete;
    FeatureDescription &operator=(const FeatureDescription &) = delete;

    const GenTL::internal::genapi::NodeGraph &Graph() const { return m_graph; }
    /// The ids of the chunks; the place of a chunk's registers is its ChunkAddress.
    const std::vector<uint64_t> &ChunkIds() const { return m_tree.ChunkIds(); }

    /// Names of all features below the category `Root`, in the description's order.
    std::vector<std::string> Names() const;
    bool Has(const std::string &name) const;

    /// @throws std::runtime_error there is no such feature; the message names similar ones
    NodeId Find(const std::string &name) const;

    /// The chunk or event port behind a feature, directly or through a formula; null for a feature that
    /// always has a value.
    const TransientPort *TransientPortOf(NodeId feature) const;

    /// The id of the event whose data hold a feature's value; none for other features.
    std::optional<uint64_t> EventIdOf(NodeId feature) const;

    /// Features in chunks, each with the id of its chunk, in the description's order.
    const std::vector<std::pair<std::string, uint64_t>> &ChunkFeatures() const { return m_chunkFeatures; }

    /// The form of a feature's number; null for a plain number.
    NumberForm FormOf(NodeId feature) const;

    /// The text of a property such as "Unit": of the feature, else of the first node behind its value that
    /// has the property; empty when none has it.
    std::string_view PropertyOf(NodeId feature, const char *property) const;

    /// The node that locks a feature, as the description of the device says; none for a feature without a
    /// lock.
    std::optional<std::string> LockOf(NodeId feature) const;

    /// The features whose values depend on which value a feature has, and those on whose values it depends.
    std::vector<std::string> SelectedBy(NodeId selector) const;
    std::vector<std::string> SelectorsOf(NodeId feature) const;

private:
    DescriptionTree m_tree;
    GenTL::internal::genapi::NodeGraph m_graph;
    std::vector<std::pair<std::string, uint64_t>> m_chunkFeatures;
    std::map<NodeId, std::vector<std::string>> m_selectors; ///< of each selected node
};

} // namespace gentlctl
