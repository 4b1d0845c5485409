#pragma once

#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "support/typed_answer.h"

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace GenTL::internal
{

/// A lower producer that tells of its one buffer what a test says, call by call or at once. A command without
/// an answer is not implemented.
class ToldFrame
{
public:
    using Told = std::variant<GC_ERROR, TypedAnswer>;
    using Answers = std::map<int32_t, Told>;

    enum class AtOnce
    {
        NotImplemented,
        Answers,         ///< each question, and reports the first failure as its own
        EndsWithFailure, ///< leaves the questions behind the first failure without a result
    };

    Answers infos;
    std::vector<Answers> parts;
    std::variant<GC_ERROR, std::vector<SINGLE_CHUNK_DATA>> chunks = GC_ERR_NOT_IMPLEMENTED;
    GC_ERROR partCount = GC_ERR_SUCCESS; ///< code of DSGetNumBufferParts
    AtOnce atOnce = AtOnce::NotImplemented;
    std::vector<std::string> asked; ///< "info 3", "parts", "part 0 5", "chunks", "at once 24"

    size_t CountOf(const std::string &question) const
    {
        return static_cast<size_t>(std::count(asked.begin(), asked.end(), question));
    }

    void Serve(FakeGenTLProxy &proxy)
    {
        proxy.onDSGetBufferInfo = [this](DS_HANDLE, BUFFER_HANDLE, BUFFER_INFO_CMD command,
                                         INFO_DATATYPE *type, void *buffer, size_t *size)
        {
            asked.push_back(fmt::format("info {}", command));
            return Checked(Write(infos, command, type, buffer, size));
        };
        proxy.onDSGetBufferInfoStacked =
            [this](DS_HANDLE, BUFFER_HANDLE, DS_BUFFER_INFO_STACKED *entries, size_t count)
        { return Checked(AnswerAtOnce(entries, count)); };
        proxy.onDSGetNumBufferParts = [this](DS_HANDLE, BUFFER_HANDLE, uint32_t *count)
        {
            asked.emplace_back("parts");
            *count = static_cast<uint32_t>(parts.size());
            return Checked(partCount);
        };
        proxy.onDSGetBufferPartInfo = [this](DS_HANDLE, BUFFER_HANDLE, uint32_t index,
                                             BUFFER_PART_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                                             size_t *size)
        {
            asked.push_back(fmt::format("part {} {}", index, command));
            return Checked(Write(parts.at(index), command, type, buffer, size));
        };
        proxy.onDSGetBufferChunkData =
            [this](DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA *entries, size_t *count)
        {
            asked.emplace_back("chunks");
            return Checked(WriteChunks(entries, count));
        };
    }

private:
    static GC_ERROR Checked(GC_ERROR code)
    {
        if (code != GC_ERR_SUCCESS)
        {
            LowerFailure(code);
        }
        return code;
    }

    static GC_ERROR Write(const Answers &answers, int32_t command, INFO_DATATYPE *type, void *buffer,
                          size_t *size)
    {
        const auto entry = answers.find(command);
        if (entry == answers.end())
        {
            return GC_ERR_NOT_IMPLEMENTED;
        }
        if (const auto *code = std::get_if<GC_ERROR>(&entry->second))
        {
            return *code;
        }
        const auto &answer = std::get<TypedAnswer>(entry->second);
        if (*size < answer.bytes.size())
        {
            return GC_ERR_BUFFER_TOO_SMALL;
        }
        *type = answer.type;
        std::memcpy(buffer, answer.bytes.data(), answer.bytes.size());
        *size = answer.bytes.size();
        return GC_ERR_SUCCESS;
    }

    GC_ERROR AnswerAtOnce(DS_BUFFER_INFO_STACKED *entries, size_t count)
    {
        if (atOnce == AtOnce::NotImplemented)
        {
            return GC_ERR_NOT_IMPLEMENTED;
        }
        asked.push_back(fmt::format("at once {}", count));
        GC_ERROR first = GC_ERR_SUCCESS;
        for (size_t i = 0; i < count; ++i)
        {
            INFO_DATATYPE type = entries[i].iType;
            size_t size = entries[i].iSize;
            const auto code = Write(infos, entries[i].iInfoCmd, &type, entries[i].pBuffer, &size);
            entries[i].iResult = code;
            entries[i].iSize = size;
            first = first == GC_ERR_SUCCESS ? code : first;
            if (code != GC_ERR_SUCCESS && atOnce == AtOnce::EndsWithFailure)
            {
                break;
            }
        }
        return first;
    }

    GC_ERROR WriteChunks(SINGLE_CHUNK_DATA *entries, size_t *count) const
    {
        if (const auto *code = std::get_if<GC_ERROR>(&chunks))
        {
            return *code;
        }
        const auto &list = std::get<1>(chunks);
        if (entries != nullptr)
        {
            std::copy(list.begin(), list.end(), entries);
        }
        *count = list.size();
        return GC_ERR_SUCCESS;
    }
};

} // namespace GenTL::internal
