#include "nodemap/url_answers.h"

#include "utils/gentl_exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace GenTL::internal
{
namespace
{

constexpr auto localUrl = "local:///Camera.zip;1F00;2A?SchemaVersion=1.1.0";

template <typename T>
T ValueOf(const utils::Info &info)
{
    T value{};
    EXPECT_EQ(info.bytes.size(), sizeof value);
    std::memcpy(&value, info.bytes.data(), std::min(sizeof value, info.bytes.size()));
    return value;
}

TEST(UrlAnswers, HaveThePlaceOfALocalDocument)
{
    EXPECT_EQ(ValueOf<uint64_t>(AnswerFromUrl(localUrl, URL_INFO_FILE_REGISTER_ADDRESS)), 0x1F00U);
    EXPECT_EQ(ValueOf<uint64_t>(AnswerFromUrl(localUrl, URL_INFO_FILE_SIZE)), 0x2AU);
    EXPECT_EQ(ValueOf<int32_t>(AnswerFromUrl(localUrl, URL_INFO_SCHEME)), URL_SCHEME_LOCAL);
    EXPECT_STREQ(AnswerFromUrl(localUrl, URL_INFO_FILENAME).bytes.c_str(), "Camera.zip");
    EXPECT_STREQ(AnswerFromUrl(localUrl, URL_INFO_URL).bytes.c_str(), localUrl);
}

TEST(UrlAnswers, HaveTheSchemaVersionOfTheQuery)
{
    constexpr auto url = "local:Camera.xml;0;10?SchemaVersion=1.2.3";
    EXPECT_EQ(ValueOf<int32_t>(AnswerFromUrl(url, URL_INFO_SCHEMA_VER_MAJOR)), 1);
    EXPECT_EQ(ValueOf<int32_t>(AnswerFromUrl(url, URL_INFO_SCHEMA_VER_MINOR)), 2);
}

TEST(UrlAnswers, LackWhatTheTextDoesNotSay)
{
    const auto codeOf = [](const char *url, URL_INFO_CMD command)
    { return ResultOf([&] { AnswerFromUrl(url, command); }); };
    EXPECT_EQ(codeOf(localUrl, URL_INFO_FILE_VER_MAJOR), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf(localUrl, URL_INFO_FILE_SHA1_HASH), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf("local:Camera.xml;0;10", URL_INFO_SCHEMA_VER_MAJOR), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf("local:Camera.xml;0;10?SchemaVersion=1", URL_INFO_SCHEMA_VER_MINOR),
              GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf("file:///camera.xml", URL_INFO_FILE_SIZE), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf("nonsense", URL_INFO_SCHEME), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(codeOf(localUrl, 12345), GC_ERR_NOT_IMPLEMENTED);
}

} // namespace
} // namespace GenTL::internal
