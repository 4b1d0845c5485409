#pragma once

#include "recording/device_record.h"
#include "recording/error.h"
#include "recording/frame_record.h"

#include <string>

namespace recording_test
{

/// A device with something in each of its lists.
inline recording::DeviceRecord MakeDevice()
{
    return {.id = "id",
            .vendor = "vendor",
            .model = "model",
            .serialNumber = "1",
            .displayName = "a name",
            .tlType = "GEV",
            .ticksPerSecond = 1000,
            .interface = {"interface", "an interface", "GEV"},
            .url = "local:a.xml;100;5",
            .description = "<xml>",
            .descriptionAddress = 0x100,
            .streamDefinesPayload = true,
            .payloadSize = 12,
            .deviceInfos = {{1, 0, 2, std::string("\0\xFF", 2)}, {2, -1005, 0, "none"}},
            .portInfos = {{3, 0, 1, "text"}},
            .urlInfos = {{4, 0, 1, ""}},
            .registers = {.memory = {{0xFFFF'FFFF'FFFF'0000, "abcd"}},
                          .selections = {{{{8, "a"}}, {{16, "b"}, {24, "c"}}}},
                          .commands = {{{"AcquisitionStart", 32, 4, true}, 1}},
                          .layout = {{"Width", 36, 4, false}},
                          .fileAccess = {.places = {{"FileSelector", 40, 4, false}},
                                         .operations = {{"Open", 0}},
                                         .statuses = {{"Success", -1}},
                                         .files = {{"Lens/Data", 3, "content"}}}}};
}

inline recording::FrameRecord MakeFrame(uint64_t time)
{
    return {.time = time,
            .infos = {{0, 0, 3, "base"}, {1, -1014, 0, "no"}},
            .parts = {{7, {{2, 0, 1, "x"}}}, {8, {}}},
            .chunks = {{1, 2, 3}}};
}

/// The message of the recording::Error that the action throws; "none" without one.
template <typename Action>
std::string MessageOf(Action action)
{
    try
    {
        action();
    }
    catch (const recording::Error &error)
    {
        return error.what();
    }
    return "none";
}

} // namespace recording_test
