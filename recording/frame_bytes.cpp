#include "recording/frame_bytes.h"

#include "recording/error.h"

#include <libdeflate.h>

#include <cstring>
#include <type_traits>

namespace recording
{
namespace
{

class ByteWriter
{
public:
    template <typename Number>
    void Number32Or64(Number number)
    {
        static_assert(std::is_integral_v<Number> && sizeof number >= sizeof(uint32_t));
        m_bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
    }

    void Text(const std::string &text)
    {
        Number32Or64(static_cast<uint32_t>(text.size()));
        m_bytes += text;
    }

    template <typename Item, typename Write>
    void List(const std::vector<Item> &items, Write write)
    {
        Number32Or64(static_cast<uint32_t>(items.size()));
        for (const auto &item : items)
        {
            write(item);
        }
    }

    std::string Take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
};

class ByteReader
{
public:
    explicit ByteReader(std::string_view bytes) : m_rest(bytes) {}

    template <typename Number>
    void Number32Or64(Number &number)
    {
        const auto bytes = Next(sizeof number);
        std::memcpy(&number, bytes.data(), sizeof number);
    }

    void Text(std::string &text)
    {
        uint32_t size = 0;
        Number32Or64(size);
        text = Next(size);
    }

    template <typename Item, typename Read>
    void List(std::vector<Item> &items, Read read)
    {
        uint32_t count = 0;
        Number32Or64(count);
        // The count may be wrong: the first missing item ends the reading, long before memory runs out.
        for (uint32_t i = 0; i < count; ++i)
        {
            read(items.emplace_back());
        }
    }

    void RequireEnd() const
    {
        if (!m_rest.empty())
        {
            throw Error("{} bytes follow the record of a frame", m_rest.size());
        }
    }

private:
    std::string_view Next(size_t size)
    {
        if (size > m_rest.size())
        {
            throw Error("The record of a frame ends early");
        }
        const auto bytes = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return bytes;
    }

    std::string_view m_rest;
};

// One order of the members for both directions: `bytes` is a writer with a constant record, or a reader.

template <typename Bytes, typename Infos>
void CodeInfos(Bytes &bytes, Infos &infos)
{
    bytes.List(infos,
               [&](auto &info)
               {
                   bytes.Number32Or64(info.command);
                   bytes.Number32Or64(info.error);
                   bytes.Number32Or64(info.type);
                   bytes.Text(info.bytes);
               });
}

template <typename Bytes, typename Record>
void CodeFrame(Bytes &bytes, Record &record)
{
    CodeInfos(bytes, record.infos);
    bytes.List(record.parts,
               [&](auto &part)
               {
                   bytes.Number32Or64(part.offset);
                   CodeInfos(bytes, part.infos);
               });
    bytes.List(record.chunks,
               [&](auto &chunk)
               {
                   bytes.Number32Or64(chunk.id);
                   bytes.Number32Or64(chunk.offset);
                   bytes.Number32Or64(chunk.length);
               });
}

} // namespace

std::string ToBytes(const FrameRecord &record)
{
    ByteWriter writer;
    CodeFrame(writer, record);
    return writer.Take();
}

FrameRecord FrameFromBytes(std::string_view bytes)
{
    FrameRecord record;
    ByteReader reader(bytes);
    CodeFrame(reader, record);
    reader.RequireEnd();
    return record;
}

uint32_t Checksum(std::span<const uint8_t> bytes)
{
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

uint32_t Checksum(std::string_view bytes)
{
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

} // namespace recording
