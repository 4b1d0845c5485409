#include "recorded_device.h"

#include "recording/error.h"
#include "recording/recording_reader.h"
#include "recording/recording_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace recording;
using recording_test::MakeDevice;
using recording_test::MakeFrame;
using recording_test::MessageOf;

namespace
{

std::vector<uint8_t> Pixels(size_t frame)
{
    return std::vector<uint8_t>(100 + frame, static_cast<uint8_t>('a' + frame));
}

std::string ContentOf(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Replace(const fs::path &file, const std::string &content)
{
    std::ofstream(file, std::ios::binary) << content;
}

class Recording : public testing::Test
{
protected:
    Recording() { fs::remove_all(m_folder); }
    ~Recording() override { fs::remove_all(m_folder); }

    /// A writer with three frames.
    std::unique_ptr<RecordingWriter> Write() const
    {
        auto writer = std::make_unique<RecordingWriter>(m_folder, MakeDevice());
        for (size_t i = 0; i < 3; ++i)
        {
            writer->Append(MakeFrame(10 * i), Pixels(i));
        }
        return writer;
    }

    void WriteAll() const { Write()->Finish(4, 5); }

    void Change(const char *name, const std::function<void(std::string &)> &change) const
    {
        auto content = ContentOf(m_folder / name);
        change(content);
        Replace(m_folder / name, content);
    }

    std::string Failure() const
    {
        return MessageOf(
            [this]
            {
                const RecordingReader reader(m_folder);
                for (size_t i = 0; i < reader.Frames(); ++i)
                {
                    std::vector<uint8_t> bytes(reader.PlaceOf(i).size);
                    reader.ReadFrame(i, bytes);
                    reader.Record(i);
                }
            });
    }

    /// "frames.data" and the like, in the folder
    std::string File(const char *name) const { return (m_folder / name).string(); }

    const fs::path m_folder = fs::temp_directory_path() / ("recording-" + std::to_string(getpid()));
};

TEST_F(Recording, IsReadAsItWasWritten)
{
    WriteAll();
    const RecordingReader reader(m_folder);
    EXPECT_EQ(reader.Device(), MakeDevice());
    ASSERT_EQ(reader.Frames(), 3U);
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(reader.Record(i), MakeFrame(10 * i));
        std::vector<uint8_t> bytes(reader.PlaceOf(i).size);
        reader.ReadFrame(i, bytes);
        EXPECT_EQ(bytes, Pixels(i));
    }
    EXPECT_EQ(reader.LargestFrame(), 102U);
    ASSERT_TRUE(reader.End());
    EXPECT_EQ(reader.End()->lost, 4U);
    EXPECT_EQ(reader.End()->unwritten, 5U);
    EXPECT_EQ(fs::file_size(m_folder / "frames.data"), 303U);
}

TEST_F(Recording, WithoutFramesIsOne)
{
    RecordingWriter(m_folder, MakeDevice()).Finish(0, 0);
    EXPECT_EQ(RecordingReader(m_folder).Frames(), 0U);
}

TEST_F(Recording, ThatEndsBeforeItsFirstFrameLeavesNothing)
{
    RecordingWriter(m_folder, MakeDevice()).AddFile("files/more/notes", "x");
    EXPECT_FALSE(fs::exists(m_folder));
}

TEST_F(Recording, IsNeverOverwritten)
{
    WriteAll();
    EXPECT_EQ(MessageOf([this] { Write(); }),
              m_folder.string() + " holds a recording already; name another folder");
    EXPECT_EQ(Failure(), "none");
}

TEST_F(Recording, IsNotMadeBelowAFile)
{
    Replace(m_folder, "");
    EXPECT_THROW(RecordingWriter(m_folder / "below", MakeDevice()), Error);
}

TEST_F(Recording, FailsWithItsOwnErrorOverAFolderThatCannotBeUsed)
{
    fs::create_directory_symlink(m_folder, m_folder);
    EXPECT_THROW(RecordingWriter(m_folder, MakeDevice()), Error);
    fs::remove(m_folder);

    fs::create_directory(m_folder);
    fs::create_symlink("recording.json", m_folder / "recording.json");
    EXPECT_THROW(RecordingWriter(m_folder, MakeDevice()), Error);
    fs::remove(m_folder / "recording.json");

    Replace(m_folder / "files", ""); // where the camera's files go
    EXPECT_THROW(RecordingWriter(m_folder, MakeDevice()), Error);
}

TEST_F(Recording, ThatWasNotFinishedHasItsFrames)
{
    Write();
    const RecordingReader reader(m_folder);
    EXPECT_EQ(reader.Frames(), 3U);
    EXPECT_FALSE(reader.End());
}

TEST_F(Recording, ThatWasNotFinishedIsReadUpToAnyLengthOfItsIndex)
{
    Write();
    const auto index = ContentOf(m_folder / "frames.index");
    size_t last = 0;
    for (size_t size = 16; size <= index.size(); size += 3)
    {
        Replace(m_folder / "frames.index", index.substr(0, size));
        const auto frames = RecordingReader(m_folder).Frames();
        EXPECT_GE(frames, last);
        last = frames;
        EXPECT_EQ(Failure(), "none") << size;
    }
    EXPECT_GE(last, 2U);
}

TEST_F(Recording, ThatWasNotFinishedIsReadUpToTheEndOfItsData)
{
    Write();
    fs::resize_file(m_folder / "frames.data", 200);
    EXPECT_EQ(RecordingReader(m_folder).Frames(), 1U);
    fs::resize_file(m_folder / "frames.data", 0);
    EXPECT_EQ(RecordingReader(m_folder).Frames(), 0U);
}

TEST_F(Recording, WithShorterOrLongerDataIsDamaged)
{
    WriteAll();
    fs::resize_file(m_folder / "frames.data", 302);
    EXPECT_EQ(Failure(), File("frames.data") +
                             " is damaged: it has 302 bytes, 303 were recorded. Copy the recording again");
    fs::resize_file(m_folder / "frames.data", 304);
    EXPECT_NE(Failure().find("it has 304 bytes, 303 were recorded"), std::string::npos);
}

TEST_F(Recording, WithOtherDataIsDamaged)
{
    WriteAll();
    Change("frames.data", [](std::string &content) { content[150] ^= 1; });
    EXPECT_EQ(Failure(), File("frames.data") +
                             " is damaged: frame 1 is not as it was recorded. Copy the recording again");
}

TEST_F(Recording, WithAnyOtherByteInItsIndexIsDamaged)
{
    WriteAll();
    const auto index = ContentOf(m_folder / "frames.index");
    const auto endsAt = index.size() - sizeof(EntryHeader) - sizeof(EndRecord);
    for (size_t i = 0; i < endsAt; i += 3)
    {
        const bool isReserved = i >= 12 && i < 16;
        auto changed = index;
        changed[i] = static_cast<char>(changed[i] ^ 0x10);
        Replace(m_folder / "frames.index", changed);
        EXPECT_EQ(Failure() == "none", isReserved) << i;
    }
}

TEST_F(Recording, WithoutOneOfItsFramesIsDamaged)
{
    WriteAll();
    Change("frames.index",
           [](std::string &index)
           {
               const auto length = (index.size() - 16 - sizeof(EntryHeader) - sizeof(EndRecord)) / 3;
               index.erase(16, length);
           });
    EXPECT_EQ(Failure(),
              File("frames.index") + " is damaged: 2 of 3 frames can be read. Copy the recording again");
}

TEST_F(Recording, WithoutOneOfItsFilesNamesIt)
{
    for (const auto *name : {"frames.data", "frames.index", "description.xml", "files/3-Lens_Data"})
    {
        fs::remove_all(m_folder);
        WriteAll();
        fs::remove(m_folder / name);
        EXPECT_NE(Failure().find(File(name) + " cannot be opened: No such file or directory"),
                  std::string::npos)
            << Failure();
    }
}

TEST_F(Recording, IsNoOtherFolder)
{
    EXPECT_EQ(Failure(), m_folder.string() + " is no recording: it has no recording.json. Name the folder "
                                             "that gentlctl record wrote");
}

TEST_F(Recording, WithADeviceFileThatCannotBeReadSaysSo)
{
    fs::create_directories(m_folder);
    fs::create_symlink("recording.json", m_folder / "recording.json"); // which leads to itself
    EXPECT_EQ(Failure(), File("recording.json") + " cannot be opened: Too many levels of symbolic links");
}

TEST_F(Recording, WithAnotherDeviceFileIsDamaged)
{
    WriteAll();
    Replace(m_folder / "recording.json", "{");
    EXPECT_TRUE(Failure().starts_with(File("recording.json") + " is damaged: parse error")) << Failure();
}

TEST_F(Recording, WithAnIndexOfSomethingElseIsDamaged)
{
    WriteAll();
    Replace(m_folder / "frames.index", "short");
    EXPECT_NE(Failure().find("it does not begin like an index"), std::string::npos);
    Replace(m_folder / "frames.index", "QVRINDEX\2\0\0\0\0\0\0\0"
                                       "more than a header");
    EXPECT_NE(Failure().find("does not begin like an index"), std::string::npos);
    Replace(m_folder / "frames.index", std::string("QVRINDEX\2\0\0\0\0\0\0\0", 16));
    EXPECT_NE(Failure().find("it has version 2 of the format"), std::string::npos);
}

TEST_F(Recording, WithAFolderInPlaceOfAFileIsDamaged)
{
    WriteAll();
    fs::remove(m_folder / "frames.data");
    fs::create_directory(m_folder / "frames.data");
    EXPECT_EQ(Failure(), File("frames.data") + " is no file");
}

} // namespace
