// Where a consumer finds the description of a module.

#include "consumer/description.h"

#include "port/proxy_module.h"

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

} // namespace
} // namespace gentlctl
