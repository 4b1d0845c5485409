#include "gentlctl/frame_pipe.h"

#include "common/pixel_format.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using tarn::common::PixelFormat;

/// A pipe whose reader is the test.
class FramePipeTest : public testing::Test
{
protected:
    FramePipeTest()
    {
        std::signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(pipe2(m_ends.data(), O_CLOEXEC), 0);
    }
    ~FramePipeTest() override
    {
        close(m_ends[0]);
        close(m_ends[1]);
        std::signal(SIGPIPE, SIG_DFL);
    }

    FramePipe Pipe(const FramePipeOptions &options)
    {
        return {m_ends[1], options, [this](const std::string &line) { told.push_back(line); }};
    }

    void CloseReader() { close(std::exchange(m_ends[0], -1)); }

    /// All that was written.
    std::string Written()
    {
        close(std::exchange(m_ends[1], -1));
        std::string written;
        std::array<char, 256> part{};
        for (ssize_t count = 0; (count = read(m_ends[0], part.data(), part.size())) > 0;)
        {
            written.append(part.data(), static_cast<size_t>(count));
        }
        return written;
    }

    FrameInfo Frame(PixelFormat format, size_t width, size_t height) const
    {
        FrameInfo frame;
        frame.base = memory.data();
        frame.size = memory.size();
        frame.width = width;
        frame.height = height;
        frame.pixelFormat = static_cast<uint64_t>(format);
        return frame;
    }

    std::vector<uint8_t> memory{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    std::vector<std::string> told;

private:
    std::array<int, 2> m_ends{-1, -1};
};

TEST_F(FramePipeTest, HoldsTheBytesOfEachImage)
{
    auto pipe = Pipe({});
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    EXPECT_EQ(Written(), std::string("\1\2\3\4\5\6\1\2\3\4\5\6"));
    EXPECT_EQ(told, (std::vector<std::string>{"Each frame is 3 x 2 Mono8 in 6 bytes"}));
}

TEST_F(FramePipeTest, TellsAnotherLayout)
{
    auto pipe = Pipe({});
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    pipe.Write(Frame(PixelFormat::Mono16, 3, 2));
    EXPECT_EQ(Written().size(), 18U);
    EXPECT_EQ(told.back(), "Each frame is 3 x 2 Mono16 in 12 bytes");
}

TEST_F(FramePipeTest, HoldsAllPartsOfAFrame)
{
    auto pipe = Pipe({});
    auto frame = Frame(PixelFormat::Mono8, 0, 0);
    frame.payloadType = GenTL::PAYLOAD_TYPE_MULTI_PART;
    frame.parts.resize(2);
    frame.parts[0].dataType = GenTL::PART_DATATYPE_3D_IMAGE;
    frame.parts[1].dataType = GenTL::PART_DATATYPE_2D_IMAGE;
    for (size_t i = 0; i < 2; ++i)
    {
        auto &part = frame.parts[i];
        part.base = memory.data() + 4 * i;
        part.size = 4;
        part.width = 2;
        part.height = i + 1;
        part.pixelFormat = static_cast<uint64_t>(i == 0 ? PixelFormat::Coord3D_C16 : PixelFormat::Mono8);
    }
    pipe.Write(frame);
    EXPECT_EQ(Written(), std::string("\1\2\3\4\5\6\7\10"));
    EXPECT_EQ(told.front(),
              "Each frame is range: 2 x 1 Coord3D_C16 in 4 bytes, then intensity: 2 x 2 Mono8 in 4 bytes");
}

TEST_F(FramePipeTest, LeavesIncompleteFramesOut)
{
    auto pipe = Pipe({});
    auto frame = Frame(PixelFormat::Mono8, 3, 2);
    frame.isIncomplete = true;
    pipe.Write(frame);
    EXPECT_EQ(Written(), "");
}

TEST_F(FramePipeTest, IsAVideoWithOneHeader)
{
    auto pipe = Pipe({.format = "y4m", .pictures = {}, .framesPerSecond = 12.5});
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    EXPECT_EQ(Written(), "YUV4MPEG2 W3 H2 F12500:1000 Ip A1:1 Cmono\nFRAME\n\1\2\3\4\5\6FRAME\n\1\2\3\4\5\6");
}

TEST_F(FramePipeTest, RefusesAVideoOfSeveralSizes)
{
    auto pipe = Pipe({.format = "y4m", .pictures = {}});
    pipe.Write(Frame(PixelFormat::Mono8, 3, 2));
    EXPECT_THROW(pipe.Write(Frame(PixelFormat::Mono8, 2, 2)), std::runtime_error);
    auto none = Frame(PixelFormat::Mono8, 0, 0);
    none.payloadType = GenTL::PAYLOAD_TYPE_MULTI_PART;
    EXPECT_THROW(pipe.Write(none), std::runtime_error);
}

TEST_F(FramePipeTest, TellsThatTheReaderIsGone)
{
    auto pipe = Pipe({});
    CloseReader();
    EXPECT_THROW(pipe.Write(Frame(PixelFormat::Mono8, 3, 2)), PipeClosed);
}

TEST(FramePipeIntoAFullDevice, SaysWhy)
{
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    FramePipe pipe(full, {}, [](const std::string &) {});
    const std::array<uint8_t, 1> pixel{};
    FrameInfo frame;
    frame.base = pixel.data();
    frame.size = 1;
    frame.width = 1;
    frame.height = 1;
    frame.pixelFormat = static_cast<uint64_t>(PixelFormat::Mono8);
    try
    {
        pipe.Write(frame);
        ADD_FAILURE() << "/dev/full takes nothing";
    }
    catch (const std::runtime_error &error)
    {
        EXPECT_STREQ(error.what(), "Cannot write the frame to standard output: No space left on device");
    }
    close(full);
}

} // namespace
} // namespace gentlctl
