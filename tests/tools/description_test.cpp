// Where a consumer finds the description of a module.

#include "consumer/description.h"

#include "port/proxy_module.h"
#include "support/zip_archive.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

using namespace GenTL;

class UrlPort final : public internal::ProxyModule
{
public:
    explicit UrlPort(std::string url) : ProxyModule(nullptr, nullptr), m_url(std::move(url)) {}

    internal::ModuleType GetModuleType() const override { return internal::ModuleType::System; }

    void GetPortURL(char *url, size_t *size) override
    {
        *size = m_url.size() + 1;
        if (url != nullptr)
        {
            std::copy_n(m_url.c_str(), *size, url);
        }
    }

    /// Each byte is the lowest of its address.
    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        for (size_t i = 0; i < *size; ++i)
        {
            static_cast<char *>(buffer)[i] = static_cast<char>(address + i);
        }
    }

private:
    std::string m_url;
};

std::string DescriptionAt(const std::string &url)
{
    UrlPort port(url);
    return LoadDescription(port);
}

TEST(LoadDescription, ReadsTheRangeOfALocalUrl)
{
    EXPECT_EQ(DescriptionAt("local:///a.xml;41;3"), "ABC");
    EXPECT_EQ(DescriptionAt("Local:a.xml;0x1061;0x4?SchemaVersion=1.1.0"), "abcd");
}

TEST(LoadDescription, EndsAtTheFirstZero)
{
    EXPECT_EQ(DescriptionAt("local:a.xml;fd;10"), "\xFD\xFE\xFF");
}

TEST(LoadDescription, ReadsTheFileOfAFileUrl)
{
    const auto file =
        std::filesystem::temp_directory_path() / ("description-" + std::to_string(getpid()) + ".xml");
    std::ofstream(file) << "<a/>";
    EXPECT_EQ(DescriptionAt("file://" + file.string()), "<a/>");
    EXPECT_EQ(DescriptionAt("FILE://" + file.string() + "?SchemaVersion=1.1.0"), "<a/>");
    std::filesystem::remove(file);
    EXPECT_THROW(DescriptionAt("file://" + file.string()), std::runtime_error);
}

TEST(LoadDescription, RefusesOtherUrls)
{
    for (const auto *url :
         {"", "local", "local:a.xml", "local:a.xml;10", "http://host/a.xml;0;10", "file:/a"})
    {
        EXPECT_THROW(DescriptionAt(url), std::runtime_error) << url;
    }
}

TEST(LoadDescription, RefusesSizesThatNoDescriptionHas)
{
    EXPECT_THROW(DescriptionAt("local:a.xml;10;0"), std::runtime_error);
    EXPECT_THROW(DescriptionAt("local:a.xml;10;100000000"), std::runtime_error);
}

/// A port with these bytes as its description.
class BytesPort final : public internal::ProxyModule
{
public:
    explicit BytesPort(std::string bytes) : ProxyModule(nullptr, nullptr), m_bytes(std::move(bytes)) {}

    internal::ModuleType GetModuleType() const override { return internal::ModuleType::System; }

    void GetPortURL(char *url, size_t *size) override
    {
        UrlPort(fmt::format("local:a.zip;0;{:x}", m_bytes.size())).GetPortURL(url, size);
    }

    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        std::copy_n(m_bytes.data() + address, *size, static_cast<char *>(buffer));
    }

private:
    std::string m_bytes;
};

std::string TextOf(const std::string &bytes)
{
    BytesPort port(bytes);
    return LoadDescription(port);
}

TEST(LoadDescription, IsInUtf8WhateverTheDeviceHas)
{
    const std::string declared = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    EXPECT_EQ(TextOf("\xEF\xBB\xBF<a>\xC3\xB6</a>"), "<a>\xC3\xB6</a>");
    EXPECT_EQ(TextOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xF6</a>"),
              declared + "<a>\xC3\xB6</a>");
    std::string wide = "\xFF\xFE";
    for (const char letter : std::string("<a>\xF6</a>"))
    {
        wide += {letter, '\0'};
    }
    EXPECT_EQ(TextOf(wide), "<a>\xC3\xB6</a>");
}

TEST(LoadDescription, EndsBeforeWhatFillsTheMemory)
{
    const std::string text = "<RegisterDescription><a/></RegisterDescription>";
    EXPECT_EQ(TextOf(text + std::string(9, '\xFF')), text);
    EXPECT_EQ(TextOf("<a/>" + std::string(9, '\0')), "<a/>");
    const auto archive = internal::MakeZip({{"a.xml", text}});
    EXPECT_EQ(TextOf(std::string(archive.begin(), archive.end()) + std::string(999, '\xFF')), text);
}

} // namespace
} // namespace gentlctl
