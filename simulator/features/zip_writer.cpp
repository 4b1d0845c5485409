#include "simulator/features/zip_writer.h"

#include <cstdint>
#include <stdexcept>
#include <zlib.h>

namespace GenTL::simulator
{

namespace
{

/// Appends the lowest `bytes` bytes of the value, the lowest first.
void Put(std::string &out, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
    {
        out += static_cast<char>(value >> (8 * i));
    }
}

std::string Deflate(const std::string &content)
{
    z_stream stream{};
    constexpr int rawDeflate = -15; // a zip entry has no zlib header
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, rawDeflate, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    {
        throw std::runtime_error("Compression failed");
    }
    const auto size = static_cast<uInt>(content.size());
    std::string out(deflateBound(&stream, size), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(content.data()));
    stream.avail_in = size;
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END)
    {
        throw std::runtime_error("Compression failed");
    }
    return out;
}

/// The fields that the local and the central header share.
std::string CommonHeader(const std::string &name, const std::string &content, const std::string &packed)
{
    const auto *bytes = reinterpret_cast<const Bytef *>(content.data());
    constexpr int firstOfJanuary1980 = 0x21;
    std::string out;
    Put(out, 20, 2); // needs version 2.0
    Put(out, 0, 2);  // flags
    Put(out, 8, 2);  // deflate
    Put(out, 0, 2);
    Put(out, firstOfJanuary1980, 2);
    Put(out, crc32(0, bytes, static_cast<uInt>(content.size())), 4);
    Put(out, packed.size(), 4);
    Put(out, content.size(), 4);
    Put(out, name.size(), 2);
    Put(out, 0, 2); // no extra field
    return out;
}

} // namespace

std::string ZipFile(const std::string &name, const std::string &content)
{
    const std::string packed = Deflate(content);
    const std::string common = CommonHeader(name, content, packed);
    std::string out;
    Put(out, 0x04034B50, 4);
    out += common + name + packed;

    const size_t directory = out.size();
    Put(out, 0x02014B50, 4);
    Put(out, 20, 2); // made by version 2.0
    out += common;
    Put(out, 0, 2); // comment length
    Put(out, 0, 2); // disk
    Put(out, 0, 2); // internal attributes
    Put(out, 0, 4); // external attributes
    Put(out, 0, 4); // offset of the local header
    out += name;

    const size_t directorySize = out.size() - directory;
    Put(out, 0x06054B50, 4);
    Put(out, 0, 4); // this disk, disk of the directory
    Put(out, 1, 2); // entries on this disk
    Put(out, 1, 2); // entries
    Put(out, directorySize, 4);
    Put(out, directory, 4);
    Put(out, 0, 2); // no comment
    return out;
}

} // namespace GenTL::simulator
