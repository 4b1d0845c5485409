#include "gentlctl/device_recording.h"

#include "consumer/description.h"
#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/text.h"
#include "gentlctl/info_recording.h"
#include "gentlctl/register_survey.h"
#include "nodemap/description_location.h"
#include "utils/try.h"

#include <algorithm>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;

namespace
{

recording::InterfaceRecord InterfaceOf(Producer &producer, const std::string &id)
{
    const auto interfaces = producer.Enumerate();
    const auto found = std::ranges::find(interfaces, id, &InterfaceEntry::id);
    return found == interfaces.end() ? recording::InterfaceRecord{id, id, ""}
                                     : recording::InterfaceRecord{id, found->displayName, found->tlType};
}

std::string TextIn(const std::vector<recording::InfoRecord> &infos, int32_t command)
{
    const auto *const info = recording::FindInfo(infos, command);
    return info == nullptr ? std::string() : info->bytes.substr(0, info->bytes.find('\0'));
}

void AddInfos(recording::DeviceRecord &record, IGenTLProxy &calls, OpenDevice &device)
{
    auto *const port = device.RemotePortHandle();
    record.deviceInfos =
        RecordInfos(DeviceInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                    { calls.DevGetInfo(device.DeviceHandle(), command, type, data, size); });
    record.portInfos =
        RecordInfos(PortInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                    { calls.GCGetPortInfo(port, command, type, data, size); });
    record.urlInfos =
        RecordInfos(UrlInfoCommands(), [&](int32_t command, INFO_DATATYPE *type, void *data, size_t *size)
                    { calls.GCGetPortURLInfo(port, 0, command, type, data, size); });
    record.displayName = TextIn(record.deviceInfos, DEVICE_INFO_DISPLAYNAME);
    record.tlType = TextIn(record.deviceInfos, DEVICE_INFO_TLTYPE);
    record.ticksPerSecond =
        recording::NumberIn(record.deviceInfos, DEVICE_INFO_TIMESTAMP_FREQUENCY).value_or(0);
}

void AddPayload(recording::DeviceRecord &record, IGenTLProxy &calls, OpenDevice &device)
{
    auto *const stream = device.Stream();
    const auto query = [&](STREAM_INFO_CMD command)
    {
        return [&calls, stream, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { calls.DSGetInfo(stream, command, type, buffer, size); };
    };
    const auto defines = TryAnswer(query(STREAM_INFO_DEFINES_PAYLOADSIZE));
    record.streamDefinesPayload = defines && IsTrueAnswer(*defines);
    if (record.streamDefinesPayload)
    {
        record.payloadSize = TryNumber(query(STREAM_INFO_PAYLOAD_SIZE)).value_or(0);
        return;
    }
    const auto size =
        internal::utils::Try([&] { return Features(device.PortOf("remote")).GetInteger("PayloadSize"); });
    record.payloadSize = static_cast<uint64_t>(size.value_or(0));
}

} // namespace

recording::DeviceRecord DescribeDevice(Producer &producer, OpenDevice &device)
{
    const auto &entry = device.Entry();
    const auto port = device.PortOf("remote");
    const auto description = LoadDescriptionFile(*port);
    recording::DeviceRecord record;
    record.id = entry.id;
    record.vendor = entry.vendor;
    record.model = entry.model;
    record.serialNumber = entry.serialNumber;
    record.interface = InterfaceOf(producer, entry.interfaceId);
    record.url = ReadText([&](char *text, size_t *size) { port->GetPortURL(text, size); });
    record.description.assign(description.begin(), description.end());
    if (const auto location = internal::ParseLocation(record.url);
        location.Scheme == internal::UrlScheme::Local)
    {
        record.descriptionAddress = location.Address;
    }
    AddInfos(record, producer.Calls(), device);
    AddPayload(record, producer.Calls(), device);
    record.registers = RegisterSurvey(*port).Run();
    return record;
}

} // namespace gentlctl
