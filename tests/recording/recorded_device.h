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
    recording::DeviceRecord device{.id = "id",
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
                                   .payloadSize = 12};
    device.deviceInfos = {{1, 0, 2, std::string("\0\xFF", 2)}, {2, -1005, 0, "none"}};
    device.portInfos = {{3, 0, 1, "text"}};
    device.urlInfos = {{4, 0, 1, ""}};
    auto &registers = device.registers;
    registers.memory = {{0xFFFF'FFFF'FFFF'0000, "abcd"}};
    registers.selections = {{{{8, "a"}}, {{16, "b"}, {24, "c"}}}};
    registers.commands = {{{"AcquisitionStart", 32, 4, true}, 1}};
    registers.layout = {{"Width", 36, 4, false}};
    registers.fileAccess = {.places = {{"FileSelector", 40, 4, false}},
                            .operations = {{"Open", 0}},
                            .statuses = {{"Success", -1}},
                            .files = {{"Lens/Data", 3, "content"}}};
    return device;
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
