#pragma once

#include <gentl/gentl.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace GenTL::internal::utils
{

/// The answer to an info query: type and bytes. A text includes its terminator.
struct Info
{
    INFO_DATATYPE type;
    std::string bytes;

    static Info Text(std::string_view text);
    static Info Int32(int32_t value) { return Of(INFO_DATATYPE_INT32, value); }
    static Info Uint32(uint32_t value) { return Of(INFO_DATATYPE_UINT32, value); }
    static Info Uint64(uint64_t value) { return Of(INFO_DATATYPE_UINT64, value); }
    static Info Size(size_t value) { return Of(INFO_DATATYPE_SIZET, value); }
    static Info Bool(bool value) { return Of(INFO_DATATYPE_BOOL8, static_cast<bool8_t>(value)); }
    static Info Pointer(const void *value) { return Of(INFO_DATATYPE_PTR, value); }

private:
    template <typename T>
    requires std::is_trivially_copyable_v<T>
    static Info Of(INFO_DATATYPE type, T value)
    {
        return {type, std::string(reinterpret_cast<const char *>(&value), sizeof value)};
    }
};

/// Writes an answer through the consumer's pointers: the type and the size, and the value unless `pBuffer` is
/// null. A short buffer is an error and stays untouched.
/// @throws GenTLException null piType or piSize (named "pType", "pSize"); buffer too small
void WriteInfo(const Info &info, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

/// Writes a text and its terminating zero. As WriteInfo.
void WriteStringInfo(std::string_view text, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

/// Writes raw bytes as INFO_DATATYPE_BUFFER. As WriteInfo.
void WriteBufferInfo(std::string_view bytes, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

} // namespace GenTL::internal::utils
