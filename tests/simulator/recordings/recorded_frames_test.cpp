#include "simulator/recordings/recorded_frames.h"

#include "recording/recording_writer.h"
#include "simulator/error.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

using namespace GenTL;
using namespace GenTL::simulator;

namespace
{

constexpr size_t frameSize = 100;

recording::PartRecord PartAt(uint64_t offset, uint64_t size)
{
    std::string bytes(sizeof size, '\0');
    std::memcpy(bytes.data(), &size, sizeof size);
    return {offset, {{BUFFER_PART_INFO_DATA_SIZE, 0, INFO_DATATYPE_SIZET, bytes}}};
}

class RecordedParts : public testing::Test
{
protected:
    ~RecordedParts() override { std::filesystem::remove_all(m_folder); }

    /// Replays a frame of 100 bytes with these parts into a buffer.
    Frame Replay(const std::vector<recording::PartRecord> &parts, size_t bufferSize)
    {
        std::filesystem::remove_all(m_folder);
        {
            recording::RecordingWriter writer(m_folder, {});
            writer.Append({.infos = {}, .parts = parts, .chunks = {}}, std::vector<uint8_t>(frameSize));
            writer.Finish(0, 0);
        }
        RecordedFrames frames(std::make_shared<recording::RecordingReader>(m_folder));
        std::vector<uint8_t> buffer(bufferSize);
        return frames.Write({.number = 1, .timestamp = 0, .settings = nullptr}, buffer);
    }

    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / ("recorded-parts-" + std::to_string(getpid()));
};

TEST_F(RecordedParts, LieInTheBuffer)
{
    EXPECT_EQ(Replay({PartAt(0, 60), PartAt(60, 40)}, frameSize).answers->Parts(), 2U);
    EXPECT_EQ(Replay({PartAt(0, 60), PartAt(60, 60)}, 120).answers->Parts(), 2U);
}

TEST_F(RecordedParts, BeyondTheBufferFailTheFrame)
{
    for (const auto &part : {PartAt(60, 41), PartAt(101, 0), PartAt(1, ~uint64_t{0})})
    {
        EXPECT_THROW(Replay({PartAt(0, 60), part}, frameSize), Error);
    }
}

TEST_F(RecordedParts, ThatASmallBufferHasNoRoomForAreLeftOut)
{
    const auto frame = Replay({PartAt(0, 60), PartAt(60, 40)}, 80);
    EXPECT_TRUE(frame.cutOff);
    EXPECT_EQ(frame.answers->Parts(), 1U);
}

} // namespace
