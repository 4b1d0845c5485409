#pragma once

#include "consumer/description_xml.h"
#include "nodemap/nodemap_parser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace gentlctl
{

/// The features in a module's description. Constant after construction.
class FeatureDescription
{
public:
    using NodeInfo = GenTL::internal::nodemap::NodeInfo;

    /// @throws std::runtime_error the description cannot be loaded or read
    explicit FeatureDescription(Port &port);

    const GenTL::internal::nodemap::NodeMapParser &Nodes() const { return m_nodes; }

    /// Names of all features below the category `Root`, in the description's order.
    std::vector<std::string> Names() const;

    /// @throws std::runtime_error there is no such feature; the message names similar ones
    const NodeInfo &Find(const std::string &name) const;

    /// When a feature has a value that it does not always have, for example "only with a frame"; none for
    /// other features.
    std::optional<std::string> WhyPassing(const std::string &name) const;

    /// Features in chunks, each with the id of its chunk, in the description's order.
    const std::vector<std::pair<std::string, uint64_t>> &ChunkFeatures() const { return m_chunkFeatures; }

    /// The form of a feature's number; null for a plain number.
    NumberForm FormOf(const NodeInfo &node) const;

private:
    std::string PassingPort(const std::string &node, int depth = 0) const;

    DescriptionXml m_xml;
    GenTL::internal::nodemap::NodeMapParser m_nodes;
    std::vector<std::pair<std::string, uint64_t>> m_chunkFeatures;
};

} // namespace gentlctl
