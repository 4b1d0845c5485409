#include "remote/description_source.h"

#include "support/failure.h"
#include "support/log_capture.h"
#include "support/registers_only_port.h"
#include "support/zip_archive.h"
#include "utils/checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::SizeIs;

constexpr auto cameraText = "<RegisterDescription>\n<Integer Name=\"A\"/>\n</RegisterDescription>";

/// A port with URLs, and bytes at one address.
struct DescribedPort final : RegistersOnlyPort
{
    std::vector<std::string> urls;
    bool hasInfos = true; ///< whether the functions of GenTL 1.1 exist
    uint64_t address = 0x1000;
    std::vector<uint8_t> bytes;
    size_t largestRead = std::numeric_limits<size_t>::max();
    bool isShort = false; ///< a read above the limit gives fewer bytes instead of an error
    std::vector<size_t> readSizes;

    DescribedPort() = default;
    explicit DescribedPort(const std::string &text) : bytes(text.begin(), text.end())
    {
        urls = {fmt::format("local:///Cam.xml;1000;{:X}", bytes.size())};
    }

    static void Give(const std::string &text, void *buffer, size_t *size)
    {
        if (buffer != nullptr)
        {
            std::memcpy(buffer, text.c_str(), std::min(*size, text.size() + 1));
        }
        *size = text.size() + 1;
    }

    void GetPortURL(char *text, size_t *size) override { Give(urls.at(0), text, size); }

    void GetNumPortURLs(uint32_t *count) override
    {
        if (!hasInfos)
        {
            throw GenTLException("no such function", GC_ERR_NOT_IMPLEMENTED);
        }
        *count = static_cast<uint32_t>(urls.size());
    }

    void GetPortURLInfo(uint32_t index, URL_INFO_CMD command, INFO_DATATYPE *, void *buffer,
                        size_t *size) override
    {
        ASSERT_EQ(command, URL_INFO_URL);
        Give(urls.at(index), buffer, size);
    }

    void ReadRegisters(uint64_t from, void *buffer, size_t *size) override
    {
        readSizes.push_back(*size);
        if (from < address || !utils::RangeFits(from - address, *size, bytes.size()))
        {
            throw GenTLException("nothing there", GC_ERR_INVALID_ADDRESS);
        }
        if (*size > largestRead && !isShort)
        {
            throw GenTLException("too much at once", GC_ERR_IO);
        }
        *size = std::min(*size, largestRead);
        std::memcpy(buffer, bytes.data() + (from - address), *size);
    }

    void WriteRegisters(uint64_t, const void *, size_t *) override { FAIL(); }
};

std::string TextOf(DescribedPort &port)
{
    return DescriptionSource(port, "cam0").Text();
}

Failure FailureWith(DescribedPort &port)
{
    return FailureOf([&] { TextOf(port); });
}

TEST(DescriptionSource, ReadsTheDocumentInOneCall)
{
    DescribedPort port(cameraText);
    const DescriptionSource source(port, "cam0");
    EXPECT_EQ(source.Text(), cameraText);
    EXPECT_THAT(port.readSizes, ElementsAre(port.bytes.size()));
    EXPECT_EQ(source.Location().Name, "Cam.xml");
    const auto node = source.Tree().document_element().child("Integer");
    EXPECT_EQ(source.Text().substr(static_cast<size_t>(node.offset_debug()), 8), "Integer ");
}

TEST(DescriptionSource, ReadsInPiecesWhereOneCallIsTooLong)
{
    DescribedPort port(std::string("<!--") + std::string(10'000, 'x') + "-->" + cameraText);
    port.largestRead = 4096;
    const auto text = TextOf(port);
    EXPECT_TRUE(text.ends_with(cameraText));
    EXPECT_THAT(port.readSizes, ElementsAre(port.bytes.size(), 4096, 4096, port.bytes.size() - 8192));
    port.largestRead = 3000;
    port.isShort = true;
    EXPECT_EQ(TextOf(port), text);
}

TEST(DescriptionSource, TakesTheFirstLocalUrl)
{
    DescribedPort port(cameraText);
    port.urls = {"http://cameras.example/Cam.xml", port.urls[0], "local:Other.xml;0;10"};
    EXPECT_EQ(TextOf(port), cameraText);
}

TEST(DescriptionSource, AsksOlderProducersForTheirOneUrl)
{
    DescribedPort port(cameraText);
    port.hasInfos = false;
    EXPECT_EQ(TextOf(port), cameraText);
}

TEST(DescriptionSource, ReadsTheFileOfAFileUrl)
{
    const auto path = std::filesystem::temp_directory_path() / "described cam.xml";
    std::ofstream(path) << cameraText;
    DescribedPort port;
    port.urls = {"http://cameras.example/Cam.xml",
                 "file://" + (path.parent_path() / "described%20cam.xml").string()};
    EXPECT_EQ(TextOf(port), cameraText);
    std::filesystem::remove(path);
    EXPECT_EQ(
        FailureWith(port),
        (Failure{fmt::format("cam0: the description is in the file {}, which cannot be read.", path.string()),
                 GC_ERR_IO}));
}

TEST(DescriptionSource, FailsForADescriptionThatAServerHas)
{
    DescribedPort port;
    port.urls = {"http://cameras.example/Cam.xml"};
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description is at http://cameras.example/Cam.xml, which cannot be fetched.",
                       GC_ERR_NOT_IMPLEMENTED}));
}

TEST(DescriptionSource, FailsForAPortWithoutUrl)
{
    DescribedPort port;
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the device's port names no description.", GC_ERR_NOT_IMPLEMENTED}));
}

TEST(DescriptionSource, KeepsTheCodeOfAPortThatCannotBeRead)
{
    DescribedPort port(cameraText);
    port.urls = {"local:Cam.xml;2000;20"};
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description (32 bytes at 0x2000) cannot be read: nothing there",
                       GC_ERR_INVALID_ADDRESS}));
    port.urls = {"local:Cam.xml;1000;10"};
    port.largestRead = 0;
    port.isShort = true;
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description (16 bytes at 0x1000) cannot be read: no bytes at 0x1000",
                       GC_ERR_IO}));
}

TEST(DescriptionSource, RefusesSizesThatNoDescriptionHas)
{
    DescribedPort port(cameraText);
    port.urls = {"local:Cam.xml;1000;4000001"};
    EXPECT_EQ(
        FailureWith(port),
        (Failure{"cam0: the description has 67108865 bytes; 1 to 67108864 can be read.", GC_ERR_ERROR}));
    port.urls = {"local:Cam.xml;1000;0"};
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description has 0 bytes; 1 to 67108864 can be read.", GC_ERR_ERROR}));
    EXPECT_THAT(port.readSizes, SizeIs(0));
}

TEST(DescriptionSource, UnzipsByTheSignatureAndNotByTheName)
{
    DescribedPort port;
    port.bytes = MakeZip({{"readme.txt", "read me"}, {"Cam.XML", cameraText}, {"later.xml", "<a/>"}});
    port.bytes.resize(port.bytes.size() + 100'000, 0);
    port.urls = {fmt::format("local:Cam.xml;1000;{:X}", port.bytes.size())};
    EXPECT_EQ(TextOf(port), cameraText);
}

TEST(DescriptionSource, NamesWhatIsWrongWithAnArchive)
{
    const LogCapture log;
    DescribedPort port;
    port.bytes = MakeZip({{"readme.txt", "read me"}});
    port.urls = {fmt::format("local:Cam.zip;1000;{:X}", port.bytes.size())};
    EXPECT_EQ(FailureWith(port),
              (Failure{fmt::format("cam0: the description ({} bytes) is not XML: the archive "
                                   "has no .xml file.",
                                   port.bytes.size()),
                       GC_ERR_ERROR}));
    port.bytes = {'P', 'K', 3, 4, 0, 0};
    port.urls = {"local:Cam.zip;1000;6"};
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description (6 bytes) is not XML: Opening zip from source failed!.",
                       GC_ERR_ERROR}));
}

TEST(DescriptionSource, NamesTheLineThatIsNotXml)
{
    DescribedPort port("<RegisterDescription>\n\n<A></B></RegisterDescription>");
    EXPECT_EQ(FailureWith(port),
              (Failure{"cam0: the description (52 bytes) is not XML: Start-end tags mismatch at line 3.",
                       GC_ERR_ERROR}));
    DescribedPort empty("no document");
    EXPECT_EQ(FailureWith(empty),
              (Failure{"cam0: the description (11 bytes) is not XML: No document element found at line 1.",
                       GC_ERR_ERROR}));
}

TEST(DescriptionSource, TakesTheSizeForBase10WhereBase16IsTooMuch)
{
    DescribedPort port(cameraText);
    port.urls = {fmt::format("local:Cam.xml;1000;{}", port.bytes.size())};
    const DescriptionSource source(port, "cam0");
    EXPECT_EQ(source.Text(), cameraText);
    EXPECT_EQ(source.Location().Size, port.bytes.size());
}

} // namespace
} // namespace GenTL::internal
