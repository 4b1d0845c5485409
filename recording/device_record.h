#pragma once

#include "recording/info_record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recording
{

/// Bytes in the registers of a device.
struct Memory
{
    uint64_t address = 0;
    std::string bytes;

    friend bool operator==(const Memory &, const Memory &) = default;
};

/// The register of a feature.
struct FeaturePlace
{
    std::string feature;
    uint64_t address = 0;
    uint64_t length = 0; ///< bytes
    bool isBigEndian = false;

    friend bool operator==(const FeaturePlace &, const FeaturePlace &) = default;
};

/// A command and the value that executes it.
struct CommandPlace
{
    FeaturePlace place;
    int64_t value = 0;

    friend bool operator==(const CommandPlace &, const CommandPlace &) = default;
};

/// What registers hold while selectors have a value.
struct Selection
{
    std::vector<Memory> selectors;
    std::vector<Memory> values;

    friend bool operator==(const Selection &, const Selection &) = default;
};

/// A file on a device.
struct DeviceFile
{
    std::string name;
    int64_t selector = 0; ///< value of FileSelector
    std::string content;

    friend bool operator==(const DeviceFile &, const DeviceFile &) = default;
};

/// A number of an enumeration, as its register holds it.
struct NamedValue
{
    std::string name;
    int64_t value = 0;

    friend bool operator==(const NamedValue &, const NamedValue &) = default;
};

/// The standard access to the files of a device.
struct FileAccess
{
    std::vector<FeaturePlace> places;
    std::vector<NamedValue> operations; ///< of FileOperationSelector
    std::vector<NamedValue> statuses;   ///< of FileOperationStatus
    std::vector<DeviceFile> files;

    friend bool operator==(const FileAccess &, const FileAccess &) = default;
};

/// The registers of a device as they were when the recording began.
struct Registers
{
    std::vector<Memory> memory;
    std::vector<Selection> selections;
    std::vector<CommandPlace> commands;
    std::vector<FeaturePlace> layout; ///< of the features that decide what a frame looks like
    FileAccess fileAccess;

    friend bool operator==(const Registers &, const Registers &) = default;
};

/// The interface that a device is on.
struct InterfaceRecord
{
    std::string id;
    std::string displayName;
    std::string tlType;

    friend bool operator==(const InterfaceRecord &, const InterfaceRecord &) = default;
};

/// A recorded device: everything that its producer said about it.
struct DeviceRecord
{
    std::string id;
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string displayName;
    std::string tlType;
    uint64_t ticksPerSecond = 0; ///< of time stamps; 0 when unknown
    InterfaceRecord interface;
    std::string url;         ///< of the description
    std::string description; ///< the bytes behind this URL
    std::optional<uint64_t>
        descriptionAddress; ///< in the device's registers; none for a description elsewhere
    bool streamDefinesPayload = false;
    uint64_t payloadSize = 0; ///< bytes
    std::vector<InfoRecord> deviceInfos;
    std::vector<InfoRecord> portInfos;
    std::vector<InfoRecord> urlInfos;
    Registers registers;

    friend bool operator==(const DeviceRecord &, const DeviceRecord &) = default;
};

} // namespace recording
