#include "consumers/session.h"

#include "nodemap/description_url.h"
#include "nodemap/unzip.h"

namespace consumers
{

namespace
{

internal::RegisterPort PortOf(const Producer &producer, PORT_HANDLE port)
{
    return {[&producer, port](uint64_t address, size_t length)
            {
                std::vector<uint8_t> bytes(length);
                producer.Must("GCReadPort", producer.GCReadPort(port, address, bytes.data(), &length));
                return bytes;
            },
            [&producer, port](uint64_t address, const std::vector<uint8_t> &bytes)
            {
                size_t size = bytes.size();
                return producer.GCWritePort(port, address, bytes.data(), &size);
            }};
}

} // namespace

void Session::OpenSystem()
{
    m_producer.Must("TLOpen", m_producer.TLOpen(&system));
}

DeviceAddress Session::Find(const std::string &model, const UpdateLimits &limits)
{
    m_producer.Must("TLUpdateInterfaceList",
                    m_producer.TLUpdateInterfaceList(system, nullptr, limits.interfaces));
    uint32_t count = 0;
    m_producer.Must("TLGetNumInterfaces", m_producer.TLGetNumInterfaces(system, &count));
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto id = Text([&](char *buffer, size_t *size)
                             { return m_producer.TLGetInterfaceID(system, i, buffer, size); });
        OpenInterface(id);
        if (const auto found = DeviceOf(model, limits.devices))
        {
            return {id, *found};
        }
        CloseInterface();
    }
    throw Refusal("no device " + model);
}

std::optional<std::string> Session::DeviceOf(const std::string &model, uint64_t timeout) const
{
    m_producer.Must("IFUpdateDeviceList", m_producer.IFUpdateDeviceList(interface, nullptr, timeout));
    uint32_t count = 0;
    m_producer.Must("IFGetNumDevices", m_producer.IFGetNumDevices(interface, &count));
    for (uint32_t i = 0; i < count; ++i)
    {
        auto id = Text([&](char *buffer, size_t *size)
                       { return m_producer.IFGetDeviceID(interface, i, buffer, size); });
        const auto itsModel = TextAnswer(
            [&](auto *type, void *out, size_t *size) {
                return m_producer.IFGetDeviceInfo(interface, id.c_str(), DEVICE_INFO_MODEL, type, out, size);
            });
        if (itsModel == model)
        {
            return id;
        }
    }
    return std::nullopt;
}

void Session::OpenInterface(const std::string &id)
{
    m_producer.Must("TLOpenInterface", m_producer.TLOpenInterface(system, id.c_str(), &interface));
}

GC_ERROR Session::TryOpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS access)
{
    return m_producer.IFOpenDevice(interface, id.c_str(), access, &device);
}

void Session::ConnectRemote()
{
    m_producer.Must("DevGetPort", m_producer.DevGetPort(device, &remotePort));
    const auto url =
        TextAnswer([&](auto *type, void *out, size_t *size)
                   { return m_producer.GCGetPortURLInfo(remotePort, 0, URL_INFO_URL, type, out, size); });
    const auto range = internal::ParseDescriptionUrl(url);
    if (!range)
    {
        throw Refusal("no address in the URL " + url);
    }
    const auto port = PortOf(m_producer, remotePort);
    auto file = port.read(range->Address, range->Size);
    if (file.size() > 1 && file[0] == 'P' && file[1] == 'K')
    {
        file = internal::Unzip(file.data(), file.size());
    }
    remote = std::make_unique<internal::DescribedNodes>(port, std::string(file.begin(), file.end()));
}

void Session::OpenStream()
{
    const auto id = Text([&](char *buffer, size_t *size)
                         { return m_producer.DevGetDataStreamID(device, 0, buffer, size); });
    m_producer.Must("DevOpenDataStream", m_producer.DevOpenDataStream(device, id.c_str(), &stream));
}

void Session::AddBuffer(size_t size) const
{
    BUFFER_HANDLE buffer = nullptr;
    m_producer.Must("DSAllocAndAnnounceBuffer",
                    m_producer.DSAllocAndAnnounceBuffer(stream, size, nullptr, &buffer));
    m_producer.Must("DSQueueBuffer", m_producer.DSQueueBuffer(stream, buffer));
}

void Session::CloseStream()
{
    m_producer.Must("DSClose", m_producer.DSClose(stream));
}

void Session::CloseDevice()
{
    m_producer.Must("DevClose", m_producer.DevClose(device));
}

void Session::CloseInterface()
{
    m_producer.Must("IFClose", m_producer.IFClose(interface));
}

void Session::CloseSystem()
{
    m_producer.Must("TLClose", m_producer.TLClose(system));
}

size_t Session::PayloadSize() const
{
    const auto info = [&](STREAM_INFO_CMD command)
    {
        return [this, command](auto *type, void *out, size_t *size)
        { return m_producer.DSGetInfo(stream, command, type, out, size); };
    };
    if (Answer<bool8_t>(info(STREAM_INFO_DEFINES_PAYLOADSIZE)).value_or(0) != 0)
    {
        if (const auto size = Answer<size_t>(info(STREAM_INFO_PAYLOAD_SIZE)))
        {
            return *size;
        }
    }
    return static_cast<size_t>(remote->Get("PayloadSize"));
}

std::string Session::DeviceType() const
{
    return TextAnswer([&](auto *type, void *out, size_t *size)
                      { return m_producer.DevGetInfo(device, DEVICE_INFO_TLTYPE, type, out, size); });
}

} // namespace consumers
