#pragma once

#include "consumer/info_commands.h"

#include <gentl/gentl.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace gentlctl
{

/// One info function with its command: writes type, value and size, as the GenTL functions do.
using InfoQuery = std::function<void(GenTL::INFO_DATATYPE *, void *, size_t *)>;

/// An info function that still needs its command.
using InfoFunction = std::function<void(int32_t, GenTL::INFO_DATATYPE *, void *, size_t *)>;

/// An answer of an INFO_DATATYPE that InfoValue cannot hold: its size alone.
struct OpaqueInfo
{
    size_t size; ///< bytes
};

/// The failure of an info command.
struct InfoError
{
    int32_t code;
    std::string text;
};

/// An answer as its INFO_DATATYPE says it: signed and unsigned numbers in 64 bits, a pointer as an address.
using InfoValue =
    std::variant<int64_t, uint64_t, double, bool, std::string, const uint8_t *, OpaqueInfo, InfoError>;

/// The answer to one command.
struct InfoAnswer
{
    int32_t command;
    std::string_view name; ///< of the command
    InfoValue value;
};

/// @throws GenTLException the function fails
InfoValue Answer(const InfoQuery &query);

/// The answer; none when the function fails.
std::optional<InfoValue> TryAnswer(const InfoQuery &query);

/// An answer that is a number; none when it is something else, or the function fails.
std::optional<uint64_t> TryNumber(const InfoQuery &query);

/// An answer that is a text; empty when it is something else, or the function fails.
std::string TextAnswer(const InfoQuery &query);

/// The answers to all commands, failures included, in the order of the commands.
std::vector<InfoAnswer> Answers(std::span<const InfoCommand> commands, const InfoFunction &function);

/// Whether a value is the boolean true.
bool IsTrueAnswer(const InfoValue &value);

/// A value as a number; none when it is something else, a boolean included.
std::optional<uint64_t> NumberOf(const InfoValue &value);

} // namespace gentlctl
