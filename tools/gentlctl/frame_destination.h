#pragma once

#include "gentlctl/frame_pipe.h"
#include "gentlctl/frame_writer.h"
#include "gentlctl/grab_arguments.h"

#include <cstddef>
#include <string>

namespace gentlctl
{

class Features;

/// Where the frames of a grab go. Made before the producer is loaded, so that a place that cannot be written
/// to is told at once.
class FrameDestination
{
public:
    /// Makes the folder that the user names, or gives standard output to the frames.
    /// @param arguments outlive this object
    /// @throws std::runtime_error the folder cannot be written into, or standard output is a terminal
    explicit FrameDestination(const GrabArguments &arguments);

    /// The folder for the files of a device, which it makes: the one that the user names, and in it one for
    /// each of several devices. Empty when there are no files.
    /// @throws std::runtime_error it cannot be made
    std::string FolderOf(const std::string &id, size_t devices) const;

    /// What writes the frames of a device; null when none are written.
    /// @param remote features of the device
    /// @param folder as FolderOf
    /// @param tell takes lines about what is in a pipe
    FrameWriter::Write WriterFor(const Features &remote, const std::string &folder,
                                 FramePipe::Tell tell) const;

private:
    FrameWriter::Write IntoPipe(const Features &remote, FramePipe::Tell tell) const;

    const GrabArguments &m_arguments;
    int m_pipe = -1;
};

} // namespace gentlctl
