#include "gentlctl/frame_destination.h"

#include "consumer/features.h"
#include "gentlctl/standard_output.h"
#include "pictures/file_writing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace gentlctl
{
namespace
{

/// The rate of a video: what the device says, 0 when it does not.
double RateOf(const Features &remote)
{
    for (const auto *feature : {"AcquisitionResultingFrameRate", "AcquisitionFrameRate"})
    {
        const auto value = remote.Values({feature})[feature];
        if (value.is_number())
        {
            return value.get<double>();
        }
    }
    return 0;
}

/// Makes a folder for frames, and tells when it holds some: a mixture of two grabs looks like one.
void MakeFrameFolder(const std::filesystem::path &folder)
{
    MakeFolder(folder);
    const auto isFrame = [](const std::filesystem::directory_entry &entry)
    { return entry.is_regular_file() && entry.path().filename().string().starts_with("frame-"); };
    if (std::ranges::any_of(std::filesystem::directory_iterator(folder), isFrame))
    {
        Complain(fmt::format("{} holds frames already; those with the same number are overwritten",
                             folder.string()));
    }
}

} // namespace

FrameDestination::FrameDestination(const GrabArguments &arguments) : m_arguments(arguments)
{
    if (arguments.GoesIntoPipe())
    {
        m_pipe = GiveStandardOutputToData();
    }
    else if (!arguments.output.empty())
    {
        MakeFrameFolder(arguments.output);
    }
}

std::string FrameDestination::FolderOf(const std::string &id, size_t devices) const
{
    if (m_arguments.output.empty() || m_arguments.GoesIntoPipe() || devices == 1)
    {
        return m_arguments.GoesIntoPipe() ? "" : m_arguments.output;
    }
    // An id may have characters that a name of a file cannot have.
    auto name = id;
    std::ranges::replace_if(
        name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-'; }, '_');
    auto folder = m_arguments.output + "/" + name;
    MakeFrameFolder(folder);
    return folder;
}

FrameWriter::Write FrameDestination::WriterFor(const Features &remote, const std::string &folder,
                                               FramePipe::Tell tell) const
{
    if (m_arguments.GoesIntoPipe())
    {
        return IntoPipe(remote, std::move(tell));
    }
    if (folder.empty())
    {
        return nullptr;
    }
    auto files = m_arguments.files;
    files.folder = folder;
    return [files = std::move(files)](const FrameInfo &frame, uint64_t number)
    { return WriteFrame(frame, number, files); };
}

FrameWriter::Write FrameDestination::IntoPipe(const Features &remote, FramePipe::Tell tell) const
{
    const FramePipeOptions options{m_arguments.files.format, m_arguments.files.pictures, RateOf(remote)};
    const auto pipe = std::make_shared<FramePipe>(m_pipe, options, std::move(tell));
    return [pipe](const FrameInfo &frame, uint64_t)
    {
        pipe->Write(frame);
        return std::vector<std::string>();
    };
}

} // namespace gentlctl
