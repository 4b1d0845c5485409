#pragma once

#include "utils/checks.h"

#include <cstring>
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

/// Writes an answer through the consumer's pointers. Writes only type and size when `pBuffer` is null. A
/// short buffer is an error and stays untouched.
/// @throws GenTLException null piType or piSize (named "pType", "pSize"); buffer too small
void WriteInfo(const Info &info, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);

/// An info query: the pointers through which the consumer gets type, value and size.
///
/// An answer writes the type and the size, and the value unless the buffer is null. A short buffer is an
/// error and stays untouched.
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

    /// Answers with a value of the size of T.
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

/// Answers with a text and its terminating zero.
void WriteStringInfo(std::string_view text, const InfoQuery &query);

/// Answers with raw bytes as INFO_DATATYPE_BUFFER.
inline void WriteBufferInfo(const void *bytes, size_t size, const InfoQuery &query)
{
    query.AnswerBytes(INFO_DATATYPE_BUFFER, bytes, size);
}

} // namespace GenTL::internal::utils
