#pragma once

#include <zip.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

struct ZipEntry
{
    std::string name;
    std::string content;
    int32_t method = ZIP_CM_DEFLATE;
};

/// The bytes of an archive with these entries, in this order; at least one.
inline std::vector<uint8_t> MakeZip(const std::vector<ZipEntry> &entries)
{
    const auto require = [](bool isFine, const char *what)
    {
        if (!isFine)
        {
            throw std::runtime_error(what);
        }
    };
    const std::unique_ptr<zip_source_t, decltype(&zip_source_free)> target(
        zip_source_buffer_create(nullptr, 0, 0, nullptr), zip_source_free);
    require(target != nullptr, "no memory for an archive");
    zip_source_keep(target.get()); // the archive lets go of one reference
    zip_t *archive = zip_open_from_source(target.get(), ZIP_TRUNCATE, nullptr);
    require(archive != nullptr, "no new archive");
    for (const auto &entry : entries)
    {
        auto *content = zip_source_buffer(archive, entry.content.data(), entry.content.size(), 0);
        const auto index = zip_file_add(archive, entry.name.c_str(), content, ZIP_FL_ENC_UTF_8);
        require(index >= 0, "no new entry");
        require(zip_set_file_compression(archive, static_cast<uint64_t>(index), entry.method, 0) == 0,
                "no such compression");
    }
    require(zip_close(archive) == 0, "archive not written");

    zip_stat_t statistics;
    require(zip_source_open(target.get()) == 0, "archive not readable");
    require(zip_source_stat(target.get(), &statistics) == 0, "archive without a size");
    std::vector<uint8_t> bytes(statistics.size);
    const auto count = zip_source_read(target.get(), bytes.data(), bytes.size());
    zip_source_close(target.get());
    require(count >= 0 && static_cast<size_t>(count) == bytes.size(), "archive not read");
    return bytes;
}

/// Where the first central directory record of an archive begins.
inline size_t FirstDirectoryRecord(const std::vector<uint8_t> &archive)
{
    const std::string_view bytes(reinterpret_cast<const char *>(archive.data()), archive.size());
    const auto position = bytes.find("PK\x01\x02");
    if (position == std::string_view::npos)
    {
        throw std::runtime_error("no directory in the archive");
    }
    return position;
}

} // namespace GenTL::internal
