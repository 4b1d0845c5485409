#include "nodemap/unzip.h"

#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <fmt/format.h>
#include <zip.h>

#include <algorithm>
#include <memory>
#include <string>

namespace GenTL::internal
{

namespace
{

constexpr auto origin = "internal::Unzip";

[[noreturn]] void Fail(const std::string &message)
{
    throw GenTLException(message, GC_ERR_IO);
}

[[noreturn]] void LogAndFail(const char *message)
{
    QVR_LOG_ERROR_FOR(origin, message);
    Fail(message);
}

[[noreturn]] void LogAndFail(const char *message, zip_error_t &error)
{
    const char *text = zip_error_strerror(&error);
    QVR_LOG_ERROR_FOR(origin, "{} Error: {} | {}", message, zip_error_code_zip(&error),
                      text != nullptr ? text : "-");
    Fail(message);
}

struct ZipError
{
    ZipError() { zip_error_init(&Value); }
    ~ZipError() { zip_error_fini(&Value); }
    ZipError(const ZipError &) = delete;
    ZipError &operator=(const ZipError &) = delete;

    zip_error_t Value{};
};

struct Closer
{
    void operator()(zip_source_t *source) const { zip_source_free(source); }
    // Nothing was changed, so there is nothing to write back.
    void operator()(zip_t *archive) const { zip_discard(archive); }
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};

template <typename T>
using Handle = std::unique_ptr<T, Closer>;

Handle<zip_t> OpenArchive(const uint8_t *data, size_t size)
{
    ZipError error;
    Handle<zip_source_t> source(zip_source_buffer_create(data, size, 0, &error.Value));
    if (!source)
    {
        LogAndFail("Create zip source buffer failed!", error.Value);
    }
    Handle<zip_t> archive(zip_open_from_source(source.get(), ZIP_RDONLY, &error.Value));
    if (!archive)
    {
        LogAndFail("Opening zip from source failed!", error.Value);
    }
    // The archive owns its source from here on.
    static_cast<void>(source.release());
    return archive;
}

uint64_t FileSize(zip_t *archive, uint64_t index)
{
    zip_stat_t statistics;
    zip_stat_init(&statistics);
    const int result = zip_stat_index(archive, index, 0, &statistics);
    if (result != 0)
    {
        constexpr auto text = "Getting zip file statistics failed!";
        QVR_LOG_ERROR_FOR(origin, "{} Error: {}", text, result);
        Fail(text);
    }
    if ((statistics.valid & ZIP_STAT_SIZE) == 0)
    {
        LogAndFail("Getting zip file size failed!");
    }
    return statistics.size;
}

std::vector<uint8_t> ReadFile(zip_t *archive, uint64_t index, uint64_t fileSize)
{
    const Handle<zip_file_t> file(zip_fopen_index(archive, index, 0));
    if (!file)
    {
        LogAndFail("Opening xml file file within zip failed!");
    }
    // Grows in steps, so that a broken archive that claims a huge size does not allocate it.
    std::vector<uint8_t> content;
    while (content.size() < fileSize)
    {
        constexpr uint64_t leastStep = 1U << 20U;
        const size_t begin = content.size();
        const auto step = std::min(fileSize - begin, std::max<uint64_t>(begin, leastStep));
        content.resize(begin + step);
        const auto count = zip_fread(file.get(), content.data() + begin, step);
        if (count < 0 || static_cast<uint64_t>(count) != step)
        {
            LogAndFail("Unzipped file does not match it's size according to the statistics!");
        }
    }
    return content;
}

/// Whether the name ends in `ending`, which is in lower case.
bool HasEnding(std::string_view name, std::string_view ending)
{
    const auto isSame = [](char letter, char expected)
    { return letter == expected || (letter >= 'A' && letter <= 'Z' && letter - 'A' + 'a' == expected); };
    return name.size() >= ending.size() &&
           std::ranges::equal(name.substr(name.size() - ending.size()), ending, isSame);
}

} // namespace

std::vector<uint8_t> Unzip(const uint8_t *data, size_t size)
{
    const auto archive = OpenArchive(data, size);
    return ReadFile(archive.get(), 0, FileSize(archive.get(), 0));
}

std::vector<uint8_t> UnzipFirst(std::span<const uint8_t> archive, std::string_view ending, uint64_t limit)
{
    const auto opened = OpenArchive(archive.data(), archive.size());
    const auto count = static_cast<uint64_t>(std::max<int64_t>(zip_get_num_entries(opened.get(), 0), 0));
    for (uint64_t index = 0; index < count; ++index)
    {
        const char *name = zip_get_name(opened.get(), index, ZIP_FL_ENC_GUESS);
        if (name == nullptr || !HasEnding(name, ending))
        {
            continue;
        }
        const auto size = FileSize(opened.get(), index);
        if (size > limit)
        {
            Fail(fmt::format("{} has {} bytes, more than {}", name, size, limit));
        }
        return ReadFile(opened.get(), index, size);
    }
    Fail(fmt::format("the archive has no {} file", ending));
}

} // namespace GenTL::internal
