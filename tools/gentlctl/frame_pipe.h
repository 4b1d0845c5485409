#pragma once

#include "consumer/frame_info.h"
#include "gentlctl/pipe_closed.h"
#include "pictures/image_files.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace gentlctl
{

struct FramePipeOptions
{
    std::string format = "raw"; ///< "raw" or "y4m"
    PictureOptions pictures;    ///< for "y4m"
    double framesPerSecond = 0; ///< for "y4m"; 0 when it is not known
};

/// Writes frames into a pipe, one behind the other, for a program that reads them there: as the bytes of
/// their images, or as video in 8 bits. An incomplete frame is left out.
class FramePipe
{
public:
    /// Takes a line about what is in the pipe.
    using Tell = std::function<void(const std::string &line)>;

    /// @param descriptor stays open as long as this object. SIGPIPE must be ignored.
    FramePipe(int descriptor, FramePipeOptions options, Tell tell);

    /// @throws PipeClosed nobody reads it any more
    /// @throws std::runtime_error the image cannot be written, or a frame of a video has another size
    void Write(const FrameInfo &frame);

private:
    void WriteRaw(const FrameInfo &frame);
    void WriteVideo(const FrameInfo &frame);
    void Send(const void *data, size_t size) const;

    const int m_descriptor;
    const FramePipeOptions m_options;
    const Tell m_tell;
    std::string m_layout;                  ///< of the last frame, in words
    std::pair<size_t, size_t> m_videoSize; ///< of the first frame
};

} // namespace gentlctl
