#include "nodemap/description_location.h"

#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal
{
namespace
{

void ExpectLocal(const std::string &url, const std::string &name, uint64_t address, uint64_t size)
{
    const auto location = ParseLocation(url);
    EXPECT_EQ(location.Scheme, UrlScheme::Local) << url;
    EXPECT_EQ(location.Name, name) << url;
    EXPECT_EQ(location.Address, address) << url;
    EXPECT_EQ(location.Size, size) << url;
}

TEST(DescriptionLocation, IsInThePortForALocalUrl)
{
    ExpectLocal("local:///Cam.xml;1000;2F", "Cam.xml", 0x1000, 0x2F);
    ExpectLocal("local:Cam.zip;8000000000001000;10", "Cam.zip", 0x8000000000001000, 0x10);
    ExpectLocal("Local:///a/b/Cam.xml;0x1000;0X2f?SchemaVersion=1.1.0", "a/b/Cam.xml", 0x1000, 0x2F);
    ExpectLocal("LOCAL:Cam.xml; 10 ; 20 ", "Cam.xml", 0x10, 0x20);
    ExpectLocal(std::string("local:Cam.xml;10;20\0\0", 21), "Cam.xml", 0x10, 0x20);
    ExpectLocal("local:///odd;name.xml;10;20", "odd;name.xml", 0x10, 0x20);
}

TEST(DescriptionLocation, IsUnknownForALocalUrlWithoutNumbers)
{
    for (const auto *url : {"local:", "local:///Cam.xml", "local:Cam.xml;10", "local:Cam.xml;;",
                            "local:Cam.xml;1G;20", "local:Cam.xml;10;12345678901234567", ";10;20", ""})
    {
        EXPECT_EQ(ParseLocation(url).Scheme, UrlScheme::Other) << url;
    }
}

TEST(DescriptionLocation, IsAFileForAFileUrl)
{
    const auto pathOf = [](const char *url)
    {
        const auto location = ParseLocation(url);
        return location.Scheme == UrlScheme::File ? location.Path : "no file";
    };
    EXPECT_EQ(pathOf("file:///opt/cam/Cam.xml"), "/opt/cam/Cam.xml");
    EXPECT_EQ(pathOf("File:/opt/Cam.xml?SchemaVersion=1.0.0"), "/opt/Cam.xml");
    EXPECT_EQ(pathOf("file://localhost/opt/My%20Cam.xml"), "/opt/My Cam.xml");
    EXPECT_EQ(pathOf("file:Cam%zz.xml"), "Cam%zz.xml");
    EXPECT_EQ(pathOf("file:100% 1.xml"), "100% 1.xml");
    EXPECT_EQ(pathOf("file://nothing"), "");
}

TEST(DescriptionLocation, IsAServerForAWebUrl)
{
    EXPECT_EQ(ParseLocation("http://cameras.example/Cam.xml").Scheme, UrlScheme::Http);
    EXPECT_EQ(ParseLocation("HTTPS://cameras.example/Cam.xml").Scheme, UrlScheme::Http);
    EXPECT_EQ(ParseLocation("http://cameras.example/Cam.xml").Url, "http://cameras.example/Cam.xml");
}

TEST(DescriptionLocation, GivesTheStemOfAName)
{
    EXPECT_EQ(StemOf("Cam.xml"), "Cam");
    EXPECT_EQ(StemOf("a/b\\Cam_v1.2.zip"), "Cam_v1.2");
    EXPECT_EQ(StemOf(".xml"), ".xml");
    EXPECT_EQ(StemOf("Cam"), "Cam");
    EXPECT_EQ(StemOf("folder/"), "");
}

} // namespace
} // namespace GenTL::internal
