#pragma once

#include "utils/checks.h"

#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace GenTL::internal::utils
{

/// The answer to an info query: its type and its bytes, a text with its terminator.
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

/// Writes an answer to where the consumer wants it. With a null `pBuffer` it writes just type and size; a
/// buffer that is too short stays as it is.
/// @throws GenTLException null piType or piSize (named "pType", "pSize"); buffer too small
void WriteInfo(const Info &info, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

/// An info query: the places where the consumer wants type, value and size of the answer.
///
/// An answer writes the type, and with a null buffer just the size; a buffer that is too short fails without
/// touching it.
struct InfoQuery
{
    INFO_DATATYPE *piType;
    void *pBuffer;
    size_t *piSize;

    /// Answers with `size` bytes of the given type.
    /// @throws GenTLException null piType or piSize (named "pType", "pSize"); buffer too small
    void AnswerBytes(INFO_DATATYPE type, const void *bytes, size_t size) const
    {
        CheckNotNull({{"pType", piType}, {"pSize", piSize}});
        *piType = type;
        if (pBuffer != nullptr)
        {
            CheckBufferSize(*piSize, size);
            if (size != 0)
            {
                std::memcpy(pBuffer, bytes, size);
            }
        }
        *piSize = size;
    }

    /// Answers with the bytes of a value.
    template <typename T>
    requires std::is_trivially_copyable_v<T>
    void Answer(INFO_DATATYPE type, T value) const { AnswerBytes(type, &value, sizeof value); }

    void AnswerInt32(int32_t value) const { Answer(INFO_DATATYPE_INT32, value); }
    void AnswerUint32(uint32_t value) const { Answer(INFO_DATATYPE_UINT32, value); }
    void AnswerUint64(uint64_t value) const { Answer(INFO_DATATYPE_UINT64, value); }
    void AnswerSize(size_t value) const { Answer(INFO_DATATYPE_SIZET, value); }
    void AnswerBool(bool value) const { Answer(INFO_DATATYPE_BOOL8, static_cast<bool8_t>(value)); }
    void AnswerPointer(const void *value) const { Answer(INFO_DATATYPE_PTR, value); }
};

/// Answers with a text and its terminator.
void WriteStringInfo(std::string_view text, const InfoQuery &query);

/// Answers with raw bytes, as INFO_DATATYPE_BUFFER, without a terminator.
inline void WriteBufferInfo(const void *bytes, size_t size, const InfoQuery &query)
{
    query.AnswerBytes(INFO_DATATYPE_BUFFER, bytes, size);
}

} // namespace GenTL::internal::utils
