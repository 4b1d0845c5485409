#pragma once

#include "genapi/graph_features.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

/// Reads files of a device through the features of the SFNC category FileAccessControl.
///
/// Does not interpret the content. Made for one use; the features must outlive it. An operation takes several
/// accesses, so nothing else may use the device's file features meanwhile. Errors of the features pass
/// through.
class DeviceFileReader
{
public:
    explicit DeviceFileReader(GenTL::internal::genapi::GraphFeatures &features) : m_features(features) {}

    std::vector<std::string> AvailableFiles() const;

    /// The size in bytes.
    uint64_t FileSize(const std::string &name) const;

    /// The content; empty when the device reports a failure.
    /// @throws std::runtime_error the size is negative or more than 1 GiB, or the device transfers no bytes
    std::vector<uint8_t> ReadFile(const std::string &name) const;

private:
    bool Transfer(uint64_t size, std::vector<uint8_t> &content) const;

    GenTL::internal::genapi::GraphFeatures &m_features;
};

} // namespace gentlctl
