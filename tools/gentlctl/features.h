#pragma once

#include "gentlctl/info.h"
#include "gentlctl/producer.h"
#include "utils/file_access.h"

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::nodemap
{
class NodeMapParser;
struct NodeInfo;
} // namespace GenTL::internal::nodemap

namespace gentlctl
{

/// The features of a port by name, through the project's own description reader.
///
/// Reads and writes go through the port as any consumer's do. Features whose value is a formula can be
/// read; they can be written only where a register stands behind them. An integer that the description gives
/// as a value is one of this object's own: what is written to it is read again, and reaches no device.
class Features
{
public:
    /// @throws std::runtime_error the description cannot be loaded or read
    explicit Features(std::shared_ptr<Port> port);
    ~Features();

    /// Names of all features below the category `Root`, in the description's order.
    std::vector<std::string> Names() const;
    bool Has(const std::string &name) const;

    /// Names of the entries of an enumeration that can be chosen now.
    std::vector<std::string> AvailableEntries(const std::string &name) const;

    /// Why a feature has no value now, as "only with a frame" for the features of chunks; nothing when it has
    /// one.
    /// @throws std::runtime_error no such feature
    std::optional<std::string> WhyWithoutValue(const std::string &name) const;

    /// @throws std::runtime_error no such feature, or it cannot be read now
    Json Get(const std::string &name) const;
    /// Values by name: of the features named, else of all. One that has no value stands with the reason in
    /// its place: as an "error" when it was asked for or could have been read, as a "text" when it has none
    /// now.
    Json Values(const std::vector<std::string> &names) const;
    /// Values of the features that stand in the chunks of a frame, by name; one that cannot be read stands
    /// with an "error" in place of its value.
    /// @param chunks by their numbers
    Json ChunkValues(const std::map<uint64_t, std::span<const uint8_t>> &chunks) const;
    int64_t GetInteger(const std::string &name) const;

    /// Writes a value given as text; a command takes any value, "1" by custom.
    /// @throws std::runtime_error no such feature, not a value of its type, or it cannot be written now
    /// @throws GenTLException the port refuses it
    void Set(const std::string &name, const std::string &value) const;
    bool IsReadOnly(const std::string &name) const;
    /// What a feature takes now, as "it takes 16 to 1280"; empty when the description does not say.
    std::string Allowed(const std::string &name) const;
    void Execute(const std::string &command) const { Set(command, "1"); }

    /// Access to the files of a device.
    GenTL::internal::utils::FileAccess Files() const { return {*m_port, *m_parser}; }

private:
    using NodeInfo = GenTL::internal::nodemap::NodeInfo;

    const NodeInfo &Find(const std::string &name) const;
    std::vector<std::string> Similar(const std::string &name) const;
    std::string PassingPort(const std::string &node, int depth = 0) const;
    Json Attempt(const std::string &name, bool isOneOfAll) const;
    Json Value(GenTL::internal::IPort &port, const NodeInfo &node) const;
    int64_t Integer(GenTL::internal::IPort &port, const NodeInfo &node) const;
    void Write(const NodeInfo &node, const std::string &value) const;

    std::shared_ptr<Port> m_port;
    std::unique_ptr<GenTL::internal::nodemap::NodeMapParser> m_parser;
    /// Ports that are there with a frame or an event only, and the text that says so.
    std::map<std::string, std::string> m_passingPorts;
    /// Features that stand in chunks, and the number of their chunk.
    std::vector<std::pair<std::string, uint64_t>> m_chunkFeatures;
    /// Of features that are more than a number, as the address of a network.
    std::map<std::string, std::string (*)(uint64_t)> m_forms;
};

} // namespace gentlctl
