#pragma once

#include "check/trial.h"
#include "consumer/info_commands.h"

#include <span>
#include <string>

namespace gentlctl
{

/// An info function with its commands.
struct InfoTable
{
    std::string function; ///< for example "TLGetInfo"
    std::span<const InfoCommand> commands;
    std::span<const GenTL::INFO_DATATYPE> types; ///< of the answers, in the order of the commands
};

// The published tables. `function` is left to the caller, since several functions share one.
InfoTable SystemInfos(std::string function);
InfoTable InterfaceInfos(std::string function);
InfoTable DeviceInfos(std::string function);
InfoTable StreamInfos(std::string function);
InfoTable BufferInfos(std::string function);
InfoTable BufferPartInfos(std::string function);
InfoTable PortInfos(std::string function);
InfoTable UrlInfos(std::string function);
InfoTable EventInfos(std::string function);

/// Asks a module for all infos: `ask(command, type, buffer, size)`.
using AskInfo =
    std::function<GenTL::GC_ERROR(int32_t command, GenTL::INFO_DATATYPE *type, void *buffer, size_t *size)>;

/// Reports each answer that breaks the rules of all info functions: a null buffer asks for the size; a buffer
/// that is too small is refused and left alone; the answer has the published type; an unknown command is an
/// error.
void CheckInfoRules(Trial &trial, const InfoTable &table, const AskInfo &ask);

} // namespace gentlctl
