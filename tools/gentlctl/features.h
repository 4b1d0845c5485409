#pragma once

#include "gentlctl/info.h"
#include "gentlctl/producer.h"
#include "utils/file_access.h"

#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal::nodemap
{
class NodeMapParser;
struct NodeInfo;
} // namespace GenTL::internal::nodemap

namespace gentlctl
{

/// The GenICam description behind a port, unzipped.
/// @throws std::runtime_error no description, or one behind a URL that is neither local nor a file
std::string LoadDescription(Port &port);

/// The features of a port by name, through the project's own description reader.
///
/// Reads and writes go through the port as any consumer's do. Features whose value is a formula can be
/// read; they can be written only where a register stands behind them.
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

    /// @throws std::runtime_error no such feature, or it cannot be read now
    Json Get(const std::string &name) const;
    int64_t GetInteger(const std::string &name) const;

    /// Writes a value given as text; a command takes any value, "1" by custom.
    /// @throws std::runtime_error no such feature, not a value of its type, or it cannot be written now
    void Set(const std::string &name, const std::string &value) const;
    void Execute(const std::string &command) const { Set(command, "1"); }

    /// Access to the files of a device.
    GenTL::internal::utils::FileAccess Files() const { return {*m_port, *m_parser}; }

private:
    const GenTL::internal::nodemap::NodeInfo &Find(const std::string &name) const;

    std::shared_ptr<Port> m_port;
    std::unique_ptr<GenTL::internal::nodemap::NodeMapParser> m_parser;
};

} // namespace gentlctl
