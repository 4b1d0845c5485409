#pragma once

#include "utils/checks.h"

#include <cstring>
#include <string_view>
#include <type_traits>

namespace GenTL::internal::utils
{

/// One info query: where the consumer wants type, value and size of the answer.
///
/// Every ...GetInfo function answers through one of these. An answer writes the type, and with a null
/// buffer just the size; a buffer that is too short fails without touching it.
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

    /// Answers with a value whose width is that of T.
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
