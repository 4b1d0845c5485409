#include "nodemap/unzip.h"

#include "support/failure.h"
#include "support/log_capture.h"
#include "support/zip_archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

std::string TextOf(const std::vector<uint8_t> &bytes)
{
    return {bytes.begin(), bytes.end()};
}

std::string UnzippedText(const std::vector<uint8_t> &archive)
{
    return TextOf(Unzip(archive.data(), archive.size()));
}

Failure UnzipFailure(const std::vector<uint8_t> &archive)
{
    return FailureOf([&] { Unzip(archive.data(), archive.size()); });
}

/// Long enough that its compressed form is shorter.
std::string LongText()
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
    {
        text += "line " + std::to_string(i) + "\n";
    }
    return text;
}

TEST(Unzip, GivesTheFileOfTheArchive)
{
    const LogCapture log;
    EXPECT_EQ(UnzippedText(MakeZip({{"a.xml", LongText(), ZIP_CM_DEFLATE}})), LongText());
    EXPECT_EQ(UnzippedText(MakeZip({{"a.xml", LongText(), ZIP_CM_STORE}})), LongText());
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Unzip, TakesTheFirstEntryWhateverItsName)
{
    EXPECT_EQ(UnzippedText(MakeZip({{"readme.txt", "read me"}, {"camera.xml", "<xml/>"}})), "read me");
    EXPECT_EQ(UnzippedText(MakeZip({{"camera.xml", "<xml/>"}, {"readme.txt", "read me"}})), "<xml/>");
}

TEST(Unzip, GivesNothingForAnEmptyFile)
{
    EXPECT_EQ(UnzippedText(MakeZip({{"empty.xml", ""}})), "");
}

TEST(Unzip, LeavesTheArchiveAlone)
{
    const auto archive = MakeZip({{"a.xml", LongText()}});
    const auto before = archive;
    UnzippedText(archive);
    EXPECT_EQ(archive, before);
    EXPECT_EQ(UnzippedText(archive), LongText());
}

TEST(Unzip, FailsWithoutData)
{
    const LogCapture log;
    EXPECT_EQ(FailureOf([] { Unzip(nullptr, 5); }), (Failure{"Create zip source buffer failed!", GC_ERR_IO}));
    EXPECT_THAT(log.Lines(),
                ElementsAre("error: Create zip source buffer failed! Error: 18 | Invalid argument"));
    EXPECT_THAT(log.Origins(), testing::Each("internal::Unzip"));
}

TEST(Unzip, FailsForSomethingElseThanAnArchive)
{
    const LogCapture log;
    const std::string text = "<RegisterDescription/> and no archive at all";
    EXPECT_EQ(UnzipFailure({text.begin(), text.end()}),
              (Failure{"Opening zip from source failed!", GC_ERR_IO}));
    EXPECT_THAT(log.Lines(),
                ElementsAre("error: Opening zip from source failed! Error: 19 | Not a zip archive"));
    EXPECT_THAT(log.Origins(), testing::Each("internal::Unzip"));
}

TEST(Unzip, FailsForATornArchive)
{
    const auto whole = MakeZip({{"a.xml", LongText()}, {"b.xml", LongText()}});
    for (const auto size : {whole.size() - 1, whole.size() / 2, size_t{1}})
    {
        const LogCapture log;
        EXPECT_EQ(UnzipFailure({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}),
                  (Failure{"Opening zip from source failed!", GC_ERR_IO}))
            << size;
    }
}

TEST(Unzip, FailsForAnArchiveWithoutEntries)
{
    const LogCapture log;
    std::vector<uint8_t> archive(22);
    archive[0] = 'P';
    archive[1] = 'K';
    archive[2] = 5;
    archive[3] = 6;
    EXPECT_EQ(UnzipFailure(archive), (Failure{"Getting zip file statistics failed!", GC_ERR_IO}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Getting zip file statistics failed! Error: -1"));
    EXPECT_THAT(log.Origins(), testing::Each("internal::Unzip"));
}

TEST(Unzip, TakesNoBytesForAnArchiveWithoutEntries)
{
    const LogCapture log;
    EXPECT_EQ(FailureOf([] { Unzip(nullptr, 0); }),
              (Failure{"Getting zip file statistics failed!", GC_ERR_IO}));
}

TEST(Unzip, FailsForACompressionThatNobodyKnows)
{
    const LogCapture log;
    auto archive = MakeZip({{"a.xml", LongText()}});
    constexpr size_t method = 10;
    archive.at(FirstDirectoryRecord(archive) + method) = 77;
    EXPECT_EQ(UnzipFailure(archive), (Failure{"Opening xml file file within zip failed!", GC_ERR_IO}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Opening xml file file within zip failed!"));
    EXPECT_THAT(log.Origins(), testing::Each("internal::Unzip"));
}

TEST(Unzip, FailsWhenTheFileIsShorterThanItsStatistics)
{
    const LogCapture log;
    auto archive = MakeZip({{"a.xml", LongText()}});
    constexpr size_t uncompressedSize = 24;
    auto &lowByte = archive.at(FirstDirectoryRecord(archive) + uncompressedSize);
    ASSERT_LT(lowByte, 255);
    ++lowByte;
    constexpr auto text = "Unzipped file does not match it's size according to the statistics!";
    EXPECT_EQ(UnzipFailure(archive), (Failure{text, GC_ERR_IO}));
    EXPECT_THAT(log.Lines(), ElementsAre(std::string("error: ") + text));
    EXPECT_THAT(log.Origins(), testing::Each("internal::Unzip"));
}

/// An archive whose directory claims that the file has this many bytes.
std::vector<uint8_t> ArchiveThatClaims(uint64_t size)
{
    auto archive = MakeZip({{"a.xml", LongText()}});
    const auto record = FirstDirectoryRecord(archive);
    const auto put = [&archive](size_t at, uint64_t value, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            archive.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
        }
    };
    // The size stands in an extra field behind the name, at whose end the directory gets longer.
    constexpr size_t extraSize = 12;
    const size_t nameLength = archive.at(record + 28);
    const size_t extraLength = archive.at(record + 30);
    const auto extra = record + 46 + nameLength + extraLength;
    archive.insert(archive.begin() + static_cast<std::ptrdiff_t>(extra), extraSize, uint8_t{0});
    put(record + 24, 0xFFFFFFFF, 4);
    put(record + 30, extraLength + extraSize, 2);
    put(extra, 1, 2);
    put(extra + 2, sizeof size, 2);
    put(extra + 4, size, sizeof size);
    const auto end = archive.size() - 22;
    put(end + 12, end - record, 4);
    return archive;
}

TEST(Unzip, TakesTheSizeOfALargeArchivesDirectory)
{
    EXPECT_EQ(UnzippedText(ArchiveThatClaims(LongText().size())), LongText());
}

TEST(Unzip, FailsForAFileThatClaimsMoreThanAnyMemory)
{
    const LogCapture log;
    for (const auto size : {uint64_t{0xFFFFFFF0}, uint64_t{1} << 50U, uint64_t{0x7FFFFFFFFFFFFFFF}})
    {
        EXPECT_EQ(UnzipFailure(ArchiveThatClaims(size)),
                  (Failure{"Unzipped file does not match it's size according to the statistics!", GC_ERR_IO}))
            << size;
    }
}

TEST(Unzip, GivesAFileOfSeveralMegabytes)
{
    std::string text;
    for (int i = 0; i < 300; ++i)
    {
        text += LongText();
    }
    EXPECT_EQ(UnzippedText(MakeZip({{"a.xml", text}})), text);
}

TEST(UnzipFirst, GivesTheFirstFileWithTheEnding)
{
    const auto archive = MakeZip({{"notes.txt", "notes"}, {"Camera.XML", "<a/>"}, {"other.xml", "<b/>"}});
    const auto content = UnzipFirst(archive, ".xml", 4);
    EXPECT_EQ(std::string(content.begin(), content.end()), "<a/>");
    EXPECT_EQ(FailureOf([&] { UnzipFirst(archive, ".zip", 4); }),
              (Failure{"the archive has no .zip file", GC_ERR_IO}));
}

TEST(UnzipFirst, RefusesAFileAboveTheLimit)
{
    const auto archive = MakeZip({{"camera.xml", LongText()}});
    EXPECT_EQ(FailureOf([&] { UnzipFirst(archive, ".xml", 100); }),
              (Failure{fmt::format("camera.xml has {} bytes, more than 100", LongText().size()), GC_ERR_IO}));
}

TEST(Unzip, FailsWhenTheContentIsDamaged)
{
    const LogCapture log;
    auto archive = MakeZip({{"a.xml", LongText()}});
    // Behind the local header, within the compressed bytes.
    std::fill_n(archive.begin() + 60, 200, uint8_t{0xFF});
    EXPECT_EQ(UnzipFailure(archive),
              (Failure{"Unzipped file does not match it's size according to the statistics!", GC_ERR_IO}));
}

} // namespace
} // namespace GenTL::internal
