#include "check/document_rules.h"

#include "support/zip_archive.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

const std::string start =
    R"(<?xml version="1.0"?><RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_1" )"
    R"(SchemaMajorVersion="1" SchemaMinorVersion="1">)";
const std::string root =
    R"(<Category Name="Root"><pFeature>Width</pFeature></Category><Integer Name="Width">)"
    R"(<Value>1</Value></Integer>)";
const std::string finish = "</RegisterDescription>";
const std::string plainUrl = "local:///Cam.xml;10000;100";

std::vector<uint8_t> Bytes(const std::string &text)
{
    return {text.begin(), text.end()};
}

std::vector<uint8_t> Zipped(const std::string &text)
{
    return GenTL::internal::MakeZip({{"cam.xml", text}});
}

/// What is found in a document.
Findings Found(const std::vector<uint8_t> &bytes, const DocumentClaim &claim = {plainUrl})
{
    // A trial asks the producer for the text of a failed call; here no call fails.
    Calls unused(QVR_LIB_DIR "/test/broken_producer.cti", RTLD_LAZY, [](std::string_view) {});
    Findings findings;
    Trial trial(unused, [&](const Finding &finding) { findings.push_back(finding); });
    trial.Begin("port");
    CheckDocument(trial, claim, bytes);
    return findings;
}

TEST(DocumentRules, ASoundDocumentIsFine)
{
    EXPECT_TRUE(Found(Bytes(start + root + finish + "\r\n")).empty());
}

TEST(DocumentRules, AnArchiveIsFineWhenItsNameSaysSo)
{
    const auto archive = Zipped(start + root + finish);
    EXPECT_TRUE(Found(archive, {"local:///Cam.zip;10000;100"}).empty());
}

struct DocumentCase
{
    std::string name;
    std::vector<uint8_t> bytes;
    DocumentClaim claim;
    Level level;
    std::string text;
    std::string cure;
};

class DocumentRule : public testing::TestWithParam<DocumentCase>
{
};

TEST_P(DocumentRule, FindsTheDefectAndTheCure)
{
    const auto &tried = GetParam();
    const auto findings = Found(tried.bytes, tried.claim);
    ASSERT_EQ(findings.size(), 1U) << ReportText(findings);
    EXPECT_EQ(findings[0].level, tried.level);
    EXPECT_NE(findings[0].text.find(tried.text), std::string::npos) << findings[0].text;
    EXPECT_NE(findings[0].cure.find(tried.cure), std::string::npos) << findings[0].cure;
}

std::vector<uint8_t> WithTail(std::vector<uint8_t> bytes)
{
    bytes.insert(bytes.end(), 100, 0);
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Each, DocumentRule,
    testing::Values(
        DocumentCase{"Tail",
                     WithTail(Bytes(start + root + finish)),
                     {plainUrl},
                     Level::WillHurt,
                     "100 bytes stand behind the document",
                     "not that of the memory"},
        DocumentCase{"TailOfArchive",
                     WithTail(Zipped(start + root + finish)),
                     {"local:///Cam.zip;10000;100"},
                     Level::WillHurt,
                     "100 bytes stand behind the archive",
                     "not that of the memory"},
        DocumentCase{"ArchiveUnderAPlainName",
                     Zipped(start + root + finish),
                     {plainUrl},
                     Level::WillHurt,
                     "holds an archive",
                     "end in .zip"},
        DocumentCase{
            "NoXml", Bytes("this is no document"), {plainUrl}, Level::Broken, "", "an XML parser reads"},
        DocumentCase{"OtherRoot",
                     Bytes("<Other/>"),
                     {plainUrl},
                     Level::Broken,
                     "holds no RegisterDescription",
                     "store a GenICam description"},
        DocumentCase{"OtherSchemaThanTold",
                     Bytes(start + root + finish),
                     {plainUrl, 1, 0},
                     Level::WillHurt,
                     "tells schema 1.0, the description is of 1.1",
                     "answer what the description says"},
        DocumentCase{"OddChunkId",
                     Bytes(start + root + R"(<Port Name="C"><ChunkID>123</ChunkID></Port>)" + finish),
                     {plainUrl},
                     Level::WillHurt,
                     "odd number of digits",
                     "leading 0"},
        DocumentCase{
            "ReferenceToNothing",
            Bytes(start + root + R"(<Integer Name="Gain"><pValue>GainReg</pValue></Integer>)" + finish),
            {plainUrl},
            Level::WillHurt,
            "GainReg of Gain",
            "add the nodes"},
        DocumentCase{"NoRoot",
                     Bytes(start + R"(<Integer Name="Width"><Value>1</Value></Integer>)" + finish),
                     {plainUrl},
                     Level::WillHurt,
                     "is not there",
                     "add the category Root"}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace gentlctl
