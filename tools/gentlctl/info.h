#pragma once

#include "port/i_gentl_proxy.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace gentlctl
{

using Json = nlohmann::ordered_json;

/// One info function with its command: writes type, value and size, as the GenTL functions do.
using InfoQuery = std::function<void(GenTL::INFO_DATATYPE *, void *, size_t *)>;

/// An info function that still wants its command.
using InfoFunction = std::function<void(int32_t, GenTL::INFO_DATATYPE *, void *, size_t *)>;

/// A command of an info function, with its published name.
struct InfoCommand
{
    int32_t command;
    std::string_view name;
};

std::span<const InfoCommand> SystemInfoCommands();
std::span<const InfoCommand> InterfaceInfoCommands();
std::span<const InfoCommand> DeviceInfoCommands();
std::span<const InfoCommand> StreamInfoCommands();
std::span<const InfoCommand> BufferInfoCommands();
std::span<const InfoCommand> BufferPartInfoCommands();
std::span<const InfoCommand> PortInfoCommands();
std::span<const InfoCommand> UrlInfoCommands();

/// The published names of a payload type and of the type of a part's data; the number of one that has none.
std::string PayloadTypeName(uint64_t type);
std::string PartDataTypeName(uint64_t type);

/// The answer in the form that its type gives it: number, truth value, text, or a pointer in hexadecimal.
/// @throws GenTLException what the function answers with
Json Answer(const InfoQuery &query);

/// The answer, or nothing when the function fails.
std::optional<Json> TryAnswer(const InfoQuery &query);

/// A text answer; empty when the function fails.
std::string TextAnswer(const InfoQuery &query);

/// Answers of all commands by name. A command that fails stands with its error in place of the value.
Json Answers(std::span<const InfoCommand> commands, const InfoFunction &function);

} // namespace gentlctl
