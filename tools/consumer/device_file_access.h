#pragma once

#include "genapi/graph_features.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace gentlctl
{

/// Reads and writes files of a device through the features of the SFNC category FileAccessControl.
///
/// Does not interpret the content. Made for one use; the features must outlive it. An operation takes several
/// accesses, so nothing else may use the device's file features meanwhile. Errors of the features pass
/// through.
class DeviceFileAccess
{
public:
    explicit DeviceFileAccess(GenTL::internal::genapi::GraphFeatures &features) : m_features(features) {}

    std::vector<std::string> AvailableFiles() const;

    /// The size in bytes.
    uint64_t FileSize(const std::string &name) const;

    /// The content.
    /// @throws std::runtime_error the size is negative or more than 1 GiB, or the device refuses to open or
    /// to read the file, or transfers no bytes
    std::vector<uint8_t> ReadFile(const std::string &name) const;

    /// Replaces the content of a file, and checks the size that the device then reports.
    /// @throws std::runtime_error the device does not write this file, refuses a part of it, or reports
    /// another size
    void WriteFile(const std::string &name, std::span<const uint8_t> content) const;

private:
    template <typename Transfer>
    auto ClosingOnFailure(Transfer transfer) const;
    std::vector<uint8_t> Receive(const std::string &name, uint64_t size) const;
    void MakeRoom(const std::string &name, uint64_t size) const;
    void Send(const std::string &name, std::span<const uint8_t> content) const;
    void SendBlock(const std::string &name, std::span<const uint8_t> content, uint64_t offset,
                   uint64_t size) const;
    bool HasEntry(const char *enumeration, const char *entry) const;
    bool Execute(const char *operation) const;

    GenTL::internal::genapi::GraphFeatures &m_features;
};

} // namespace gentlctl
