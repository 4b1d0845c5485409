#include "gentlctl/frame_pipe.h"

#include "gentlctl/frame_files.h"
#include "pictures/file_writing.h"
#include "pictures/video_frames.h"

#include <fmt/format.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

FramePipe::FramePipe(int descriptor, FramePipeOptions options, Tell tell)
    : m_descriptor(descriptor), m_options(std::move(options)), m_tell(std::move(tell))
{
}

void FramePipe::Write(const FrameInfo &frame)
{
    if (frame.isIncomplete)
    {
        return;
    }
    if (m_options.format == "y4m")
    {
        WriteVideo(frame);
    }
    else
    {
        WriteRaw(frame);
    }
}

/// Tells the layout of the first frame, and of each that differs from the one before.
void FramePipe::WriteRaw(const FrameInfo &frame)
{
    const auto images = ImagesOf(frame);
    std::string layout;
    for (const auto &[name, view] : images)
    {
        layout += fmt::format("{}{}{}{} x {} {} in {} bytes", layout.empty() ? "" : ", then ", name,
                              name.empty() ? "" : ": ", view.width, view.height, FormatName(view.pixelFormat),
                              DeliveredBytes(frame, view));
    }
    if (layout != m_layout)
    {
        m_tell(fmt::format("Each frame is {}", layout));
        m_layout = layout;
    }
    for (const auto &image : images)
    {
        Send(image.view.data, DeliveredBytes(frame, image.view));
    }
}

void FramePipe::WriteVideo(const FrameInfo &frame)
{
    const auto images = ImagesOf(frame);
    if (images.empty())
    {
        throw std::runtime_error("A frame without an image cannot be part of a video: use -f raw");
    }
    const auto picture = ShownPicture(images.front().view, m_options.pictures);
    const std::pair size(picture.width, picture.height);
    if (m_videoSize == std::pair<size_t, size_t>())
    {
        const auto header = Y4mHeader(picture, m_options.framesPerSecond);
        Send(header.data(), header.size());
        m_videoSize = size;
    }
    if (size != m_videoSize)
    {
        throw std::runtime_error(
            fmt::format("A frame of {} x {} came after those of {} x {}; a video has one size", size.first,
                        size.second, m_videoSize.first, m_videoSize.second));
    }
    const auto content = Y4mFrame(picture);
    Send(content.data(), content.size());
}

void FramePipe::Send(const void *data, size_t size) const
{
    try
    {
        WriteBytes(m_descriptor, data, size);
    }
    catch (const std::system_error &error)
    {
        if (error.code() == std::errc::broken_pipe)
        {
            throw PipeClosed();
        }
        throw std::runtime_error(
            fmt::format("Cannot write the frame to standard output: {}", error.code().message()));
    }
}

} // namespace gentlctl
