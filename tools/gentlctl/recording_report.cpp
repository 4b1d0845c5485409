#include "gentlctl/recording_report.h"

#include "consumer/description.h"
#include "recording/error.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <vector>

namespace gentlctl
{
namespace
{

/// Empty when the bytes are a description.
std::string WhyUnreadable(const std::vector<uint8_t> &bytes)
{
    try
    {
        const auto text = DescriptionIn(bytes);
        pugi::xml_document document;
        const auto result = document.load_buffer(text.data(), text.size());
        return result ? "" : result.description();
    }
    catch (const std::exception &exception)
    {
        return exception.what();
    }
}

} // namespace

Json DescribeRecording(const recording::RecordingReader &recording)
{
    const auto &device = recording.Device();
    const auto frames = recording.Frames();
    uint64_t bytes = 0;
    for (size_t i = 0; i < frames; ++i)
    {
        bytes += recording.PlaceOf(i).size;
    }
    const auto first = frames == 0 ? 0 : recording.PlaceOf(0).time;
    const auto last = frames == 0 ? 0 : recording.PlaceOf(frames - 1).time;
    const auto seconds = static_cast<double>(last - std::min(first, last)) / 1e9;
    auto files = Json::array();
    for (const auto &file : device.registers.fileAccess.files)
    {
        files.push_back(file.name);
    }
    const auto &end = recording.End();
    return {{"folder", recording.Folder().string()},
            {"device", device.id},
            {"vendor", device.vendor},
            {"model", device.model},
            {"serialNumber", device.serialNumber},
            {"frames", frames},
            {"bytes", bytes},
            {"seconds", seconds},
            {"framesPerSecond", seconds > 0 ? static_cast<double>(frames - 1) / seconds : 0.0},
            {"complete", end.has_value()},
            {"notRecorded", end ? end->unwritten : 0},
            {"lost", end ? end->lost : 0},
            {"files", files}};
}

void CheckDescription(const recording::RecordingReader &recording)
{
    const auto &bytes = recording.Device().description;
    if (const auto cause = WhyUnreadable({bytes.begin(), bytes.end()}); !cause.empty())
    {
        throw recording::Error("The description in {} is damaged: {}. Copy the recording again",
                               recording.Folder().string(), cause);
    }
}

void CheckFrames(const recording::RecordingReader &recording)
{
    std::vector<uint8_t> bytes(recording.LargestFrame());
    for (size_t i = 0; i < recording.Frames(); ++i)
    {
        recording.Record(i);
        recording.ReadFrame(i, bytes);
    }
}

} // namespace gentlctl
