#pragma once

#include "simulator/error.h"

#include <string>

namespace GenTL::simulator
{

/// The answer to an info query: its type and its bytes; a text includes its terminator.
struct Info
{
    INFO_DATATYPE type;
    std::string bytes;

    static Info Text(const std::string &text);
    static Info Int32(int32_t value);
    static Info UInt32(uint32_t value);
    static Info UInt64(uint64_t value);
    static Info Size(size_t value);
    static Info Bool(bool value);
    static Info Pointer(const void *value);
    static Info Bytes(std::string value);
};

/// Answers a query by the rules that all info functions share: a null `buffer` asks for the size alone.
///
/// @throws Error GC_ERR_INVALID_PARAMETER: `type` or `size` is null.
/// @throws Error GC_ERR_BUFFER_TOO_SMALL: the answer does not fit into `*size` bytes.
void WriteInfo(const Info &info, INFO_DATATYPE *type, void *buffer, size_t *size);

/// The same for the functions that return a text without a type.
void WriteText(const std::string &text, char *buffer, size_t *size);

/// @throws Error GC_ERR_NOT_IMPLEMENTED, always: for a query whose command is unknown.
[[noreturn]] void UnknownCommand(int32_t command);

} // namespace GenTL::simulator
