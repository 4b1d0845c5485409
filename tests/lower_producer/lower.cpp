#include "lower_producer/lower.h"

#include <fmt/format.h>

#include <chrono>
#include <cstring>

// The extra export: the producer's script.
extern "C" __attribute__((visibility("default"))) lower::Producer *LowerProducer()
{
    static lower::Producer producer;
    return &producer;
}

namespace lower
{
namespace
{

Producer &Self()
{
    return *LowerProducer();
}

struct Failure
{
    GC_ERROR code;
};

/// Whether a function works without a device.
bool IsLocal(std::string_view name)
{
    return name.starts_with("GC")
               ? name != "GCReadPort" && name != "GCWritePort" && name != "GCUnregisterEvent"
               : name.starts_with("TL") || name.starts_with("IF");
}

/// Records the call, gives the scripted failure if there is one, and runs the body under the lock.
template <typename Body>
GC_ERROR Call(std::string_view name, Body body)
{
    auto &self = Self();
    if (self.onCall)
    {
        self.onCall(name);
    }
    std::unique_lock lock(self.mutex);
    self.calls.emplace_back(name);
    const auto failures = self.failures.find(name);
    if (failures != self.failures.end() && !failures->second.empty())
    {
        const auto result = failures->second.front();
        failures->second.pop_front();
        if (result != works)
        {
            return result;
        }
    }
    if (self.gone != GC_ERR_SUCCESS && !IsLocal(name))
    {
        return self.gone;
    }
    try
    {
        body(self, lock);
        return GC_ERR_SUCCESS;
    }
    catch (const Failure &failure)
    {
        return failure.code;
    }
}

#define LOWER(name, ...)                                                                                     \
    return Call(#name, [&]([[maybe_unused]] Producer &self,                                                  \
                           [[maybe_unused]] std::unique_lock<std::mutex> &lock) { __VA_ARGS__ })

void Answer(INFO_DATATYPE type, const void *value, size_t length, INFO_DATATYPE *piType, void *pBuffer,
            size_t *piSize)
{
    if (piType != nullptr)
    {
        *piType = type;
    }
    if (pBuffer != nullptr)
    {
        if (*piSize < length)
        {
            throw Failure{GC_ERR_BUFFER_TOO_SMALL};
        }
        std::memcpy(pBuffer, value, length);
    }
    *piSize = length;
}

template <typename T>
void AnswerValue(INFO_DATATYPE type, T value, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    Answer(type, &value, sizeof value, piType, pBuffer, piSize);
}

void AnswerText(const std::string &text, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    Answer(INFO_DATATYPE_STRING, text.c_str(), text.size() + 1, piType, pBuffer, piSize);
}

// Handles: numbers that are not addresses of any memory, one range for each kind.
enum Kind : uintptr_t
{
    System = 0x1000,
    Interface = 0x2000,
    Device = 0x3000,
    Remote = 0x4000,
    Stream = 0x5000,
    Event = 0x6000,
    Buffer = 0x10000,
};

void *NewHandle(Producer &self, Kind kind)
{
    auto value = static_cast<uintptr_t>(kind);
    while (self.open.contains(reinterpret_cast<void *>(value)))
    {
        ++value;
    }
    auto *const handle = reinterpret_cast<void *>(value);
    self.open.insert(handle);
    return handle;
}

bool Is(void *handle, Kind kind)
{
    return (reinterpret_cast<uintptr_t>(handle) & ~uintptr_t{0xFFF}) == kind;
}

void Close(Producer &self, void *handle)
{
    if (self.open.erase(handle) == 0)
    {
        throw Failure{GC_ERR_INVALID_HANDLE};
    }
}

std::string Description(const std::string &nodes)
{
    return "<RegisterDescription xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">" + nodes +
           "<Port Name=\"P\"/></RegisterDescription>";
}

std::string IntegerNode(const std::string &name, uint64_t address, uint64_t length, const std::string &access)
{
    return fmt::format("<Integer Name=\"{0}\"><pValue>{0}Reg</pValue></Integer>"
                       "<IntReg Name=\"{0}Reg\"><Address>{1}</Address><Length>{2}</Length>"
                       "<AccessMode>{3}</AccessMode><pPort>P</pPort><Sign>Unsigned</Sign>"
                       "<Endianess>LittleEndian</Endianess></IntReg>",
                       name, address, length, access);
}

const std::string &XmlOf(Producer &self, void *handle)
{
    if (self.systemXml.empty())
    {
        self.systemXml = Description(IntegerNode("InterfaceCount", 0, 4, "RO"));
    }
    if (self.streamXml.empty())
    {
        self.streamXml = Description(IntegerNode("StreamDroppedFrameCount", 8, 8, "RO"));
    }
    if (self.deviceXml.empty())
    {
        self.deviceXml = Description(
            IntegerNode("Width", 0x100, 4, "RW") + IntegerNode("Height", 0x104, 4, "RW") +
            IntegerNode("PayloadSize", 0x108, 4, "RO") + IntegerNode("PixelFormatCode", 0x10C, 4, "RW") +
            "<Enumeration Name=\"PixelFormat\"><EnumEntry Name=\"Mono8\">"
            "<Value>0x01080001</Value></EnumEntry>"
            "<pValue>PixelFormatCodeReg</pValue></Enumeration>");
    }
    return Is(handle, System) ? self.systemXml : Is(handle, Stream) ? self.streamXml : self.deviceXml;
}

constexpr uint64_t descriptionAddress = 0x10000;

std::string UrlOf(Producer &self, void *handle)
{
    return fmt::format(fmt::runtime(self.url), fmt::format("{:X}", XmlOf(self, handle).size()));
}

uint64_t RegisterValue(Producer &self, void *handle, uint64_t address)
{
    if (Is(handle, Stream))
    {
        return self.droppedFrames;
    }
    switch (address)
    {
    case 0x100:
        return 16;
    case 0x104:
        return 4;
    case 0x108:
        return self.payloadSize;
    case 0x10C:
        return 0x01080001;
    default:
        return 1;
    }
}

bool HasRegistersEverywhere(const Producer &self, void *handle)
{
    return self.remembersRegisters && Is(handle, Remote);
}

void ReadMemory(const Producer &self, uint64_t address, void *pBuffer, size_t size)
{
    for (size_t i = 0; i < size; ++i)
    {
        const auto byte = self.memory.find(address + i);
        static_cast<uint8_t *>(pBuffer)[i] = byte == self.memory.end() ? 0 : byte->second;
    }
}

void Read(Producer &self, void *handle, uint64_t address, void *pBuffer, size_t *piSize)
{
    const auto &xml = XmlOf(self, handle);
    const bool isRegister = address < descriptionAddress || address - descriptionAddress >= xml.size();
    if (isRegister && HasRegistersEverywhere(self, handle))
    {
        return ReadMemory(self, address, pBuffer, *piSize);
    }
    if (address >= descriptionAddress)
    {
        const auto offset = address - descriptionAddress;
        if (offset > xml.size() || *piSize > xml.size() - offset)
        {
            throw Failure{GC_ERR_INVALID_ADDRESS};
        }
        std::memcpy(pBuffer, xml.data() + offset, *piSize);
        return;
    }
    const auto value = RegisterValue(self, handle, address);
    std::memset(pBuffer, 0, *piSize);
    std::memcpy(pBuffer, &value, std::min(*piSize, sizeof value));
}

void BufferInfo(Producer &self, void *buffer, BUFFER_INFO_CMD command, INFO_DATATYPE *piType, void *pBuffer,
                size_t *piSize)
{
    auto &memory = self.buffers.at(buffer);
    if (const auto told = self.bufferInfos.find(command); told != self.bufferInfos.end())
    {
        return AnswerValue(INFO_DATATYPE_UINT64, told->second, piType, pBuffer, piSize);
    }
    switch (command)
    {
    case BUFFER_INFO_BASE:
        return AnswerValue<void *>(INFO_DATATYPE_PTR, self.hasMemory ? memory.data() : nullptr, piType,
                                   pBuffer, piSize);
    case BUFFER_INFO_SIZE:
        return AnswerValue(INFO_DATATYPE_SIZET, memory.size(), piType, pBuffer, piSize);
    case BUFFER_INFO_PAYLOADTYPE:
        return AnswerValue<size_t>(INFO_DATATYPE_SIZET,
                                   self.parts.empty() ? PAYLOAD_TYPE_IMAGE : PAYLOAD_TYPE_MULTI_PART, piType,
                                   pBuffer, piSize);
    case BUFFER_INFO_IS_INCOMPLETE:
        return AnswerValue<bool8_t>(INFO_DATATYPE_BOOL8, self.incomplete[buffer] ? 1 : 0, piType, pBuffer,
                                    piSize);
    case BUFFER_INFO_WIDTH:
        return AnswerValue(INFO_DATATYPE_SIZET, self.width, piType, pBuffer, piSize);
    case BUFFER_INFO_HEIGHT:
        return AnswerValue(INFO_DATATYPE_SIZET, self.height, piType, pBuffer, piSize);
    case BUFFER_INFO_PIXELFORMAT:
        return AnswerValue(INFO_DATATYPE_UINT64, self.pixelFormat, piType, pBuffer, piSize);
    default:
        throw Failure{GC_ERR_NOT_AVAILABLE};
    }
}

void PartInfo(Producer &self, void *buffer, uint32_t index, BUFFER_PART_INFO_CMD command,
              INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    const auto &part = self.parts.at(index);
    switch (command)
    {
    case BUFFER_PART_INFO_BASE:
        return AnswerValue<void *>(INFO_DATATYPE_PTR,
                                   part.hasMemory ? self.buffers.at(buffer).data() : nullptr, piType, pBuffer,
                                   piSize);
    case BUFFER_PART_INFO_DATA_TYPE:
        return AnswerValue(INFO_DATATYPE_SIZET, part.type, piType, pBuffer, piSize);
    case BUFFER_PART_INFO_DATA_FORMAT:
        return AnswerValue(INFO_DATATYPE_UINT64, part.format, piType, pBuffer, piSize);
    case BUFFER_PART_INFO_DATA_SIZE:
        return AnswerValue(INFO_DATATYPE_SIZET, part.size, piType, pBuffer, piSize);
    default:
        throw Failure{GC_ERR_NOT_AVAILABLE};
    }
}

void StreamInfo(Producer &self, STREAM_INFO_CMD command, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    switch (command)
    {
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return AnswerValue<bool8_t>(INFO_DATATYPE_BOOL8, self.definesPayloadSize ? 1 : 0, piType, pBuffer,
                                    piSize);
    case STREAM_INFO_PAYLOAD_SIZE:
        return AnswerValue(INFO_DATATYPE_SIZET, self.payloadSize, piType, pBuffer, piSize);
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        return AnswerValue(INFO_DATATYPE_SIZET, self.minimumBuffers, piType, pBuffer, piSize);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        if (self.maxChunks != 0)
        {
            return AnswerValue(INFO_DATATYPE_SIZET, self.maxChunks, piType, pBuffer, piSize);
        }
        [[fallthrough]];
    default:
        throw Failure{GC_ERR_NOT_IMPLEMENTED};
    }
}

void AnswerAtOnce(Producer &self, void *buffer, DS_BUFFER_INFO_STACKED *entries, size_t count)
{
    if (!self.answersAtOnce)
    {
        throw Failure{GC_ERR_NOT_IMPLEMENTED};
    }
    for (size_t i = 0; i < count; ++i)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = entries[i].iSize;
        try
        {
            BufferInfo(self, buffer, entries[i].iInfoCmd, &type, entries[i].pBuffer, &size);
            entries[i].iResult = GC_ERR_SUCCESS;
        }
        catch (const Failure &failure)
        {
            entries[i].iResult = failure.code;
        }
        entries[i].iType = type;
        entries[i].iSize = size;
    }
}

void Chunks(Producer &self, SINGLE_CHUNK_DATA *entries, size_t *count)
{
    if (self.chunks.empty())
    {
        throw Failure{GC_ERR_NO_DATA};
    }
    if (entries != nullptr)
    {
        std::copy(self.chunks.begin(), self.chunks.end(), entries);
    }
    *count = self.chunks.size();
}

/// Takes the next of an event's items, and leaves the wait after a kill or too long a time.
template <typename Item>
Item WaitForNext(Producer &self, std::unique_lock<std::mutex> &lock, std::deque<Item> &items, uint64_t &kills,
                 uint64_t timeout)
{
    const auto limit = std::chrono::milliseconds(std::min<uint64_t>(timeout, 3600000));
    self.changed.wait_for(lock, limit, [&] { return kills != 0 || !items.empty(); });
    if (kills != 0)
    {
        --kills;
        throw Failure{GC_ERR_ABORT};
    }
    if (items.empty())
    {
        throw Failure{GC_ERR_TIMEOUT};
    }
    const Item item = std::move(items.front());
    items.pop_front();
    return item;
}

void TakeEvent(Producer &self, std::unique_lock<std::mutex> &lock, EVENT_HANDLE event, void *pBuffer,
               size_t *piSize, uint64_t timeout)
{
    if (event == self.errorEvent && event != nullptr)
    {
        self.isErrorAwaited = self.errors.empty();
        self.changed.notify_all();
        AnswerText(WaitForNext(self, lock, self.errors, self.errorKills, timeout), nullptr, pBuffer, piSize);
        return;
    }
    const EVENT_NEW_BUFFER_DATA data{WaitForNext(self, lock, self.filled, self.kills, timeout), nullptr};
    Answer(INFO_DATATYPE_BUFFER, &data, sizeof data, nullptr, pBuffer, piSize);
}

const DeviceEntry &FindDevice(Producer &self, const std::string &id)
{
    const auto entry = std::find_if(self.devices.begin(), self.devices.end(),
                                    [&](const auto &device) { return device.id == id; });
    if (entry == self.devices.end())
    {
        throw Failure{GC_ERR_INVALID_ID};
    }
    return *entry;
}

} // namespace
} // namespace lower

namespace GenTL
{

using namespace lower;

extern "C"
{

    GC_API GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        LOWER(
            GCGetInfo, self.infoCommands.push_back(iInfoCmd); switch (iInfoCmd) {
                case TL_INFO_GENTL_VER_MAJOR:
                    return AnswerValue(INFO_DATATYPE_UINT32, self.versionMajor, piType, pBuffer, piSize);
                case TL_INFO_GENTL_VER_MINOR:
                    return AnswerValue(INFO_DATATYPE_UINT32, self.versionMinor, piType, pBuffer, piSize);
                case TL_INFO_TLTYPE:
                    return AnswerText(self.tlType, piType, pBuffer, piSize);
                default:
                    return AnswerText("lower", piType, pBuffer, piSize);
            });
    }

    GC_API GC_ERROR GCGetLastError(GC_ERROR *piErrorCode, char *sErrText, size_t *piSize)
    {
        LOWER(
            GCGetLastError, *piErrorCode = self.lastErrorCode; if (self.lastErrorText.empty()) {
                *piSize = 0;
            } else { AnswerText(self.lastErrorText, nullptr, sErrText, piSize); });
    }

    GC_API GC_ERROR GCInitLib()
    {
        LOWER(GCInitLib, ++self.initialized;);
    }

    GC_API GC_ERROR GCCloseLib()
    {
        LOWER(GCCloseLib, --self.initialized; self.open.clear(););
    }

    GC_API GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void *pBuffer, size_t *piSize)
    {
        LOWER(GCReadPort, Read(self, hPort, iAddress, pBuffer, piSize););
    }

    GC_API GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void *pBuffer, size_t *piSize)
    {
        LOWER(
            GCWritePort, const auto *bytes = static_cast<const uint8_t *>(pBuffer);
            self.registers[iAddress].assign(bytes, bytes + *piSize);
            for (size_t i = 0; HasRegistersEverywhere(self, hPort) && i < *piSize;
                 ++i) { self.memory[iAddress + i] = bytes[i]; });
    }

    GC_API GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char *sURL, size_t *piSize)
    {
        LOWER(GCGetPortURL, AnswerText(UrlOf(self, hPort), nullptr, sURL, piSize););
    }

    GC_API GC_ERROR GCGetPortInfo(PORT_HANDLE, PORT_INFO_CMD, INFO_DATATYPE *piType, void *pBuffer,
                                  size_t *piSize)
    {
        LOWER(GCGetPortInfo, AnswerText("lower port", piType, pBuffer, piSize););
    }

    GC_API GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE, EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
    {
        LOWER(
            GCRegisterEvent, *phEvent = NewHandle(self, Event);
            if (iEventID == EVENT_ERROR) { self.errorEvent = *phEvent; });
    }

    GC_API GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE, EVENT_TYPE)
    {
        LOWER(GCUnregisterEvent, std::erase_if(self.open, [](void *handle) { return Is(handle, Event); }););
    }

    GC_API GC_ERROR EventGetData(EVENT_HANDLE hEvent, void *pBuffer, size_t *piSize, uint64_t iTimeout)
    {
        LOWER(EventGetData, self.eventCalls.push_back({"EventGetData", hEvent, iTimeout});
              TakeEvent(self, lock, hEvent, pBuffer, piSize, iTimeout););
    }

    GC_API GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void *pInBuffer, size_t,
                                     EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pOutBuffer,
                                     size_t *piOutSize)
    {
        LOWER(
            EventGetDataInfo,
            self.eventCalls.push_back({"EventGetDataInfo", hEvent, static_cast<uint64_t>(iInfoCmd)});
            if (hEvent == self.errorEvent && iInfoCmd == EVENT_DATA_VALUE) {
                AnswerText(static_cast<const char *>(pInBuffer), piType, pOutBuffer, piOutSize);
            });
    }

    GC_API GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE *, void *,
                                 size_t *)
    {
        LOWER(EventGetInfo,
              self.eventCalls.push_back({"EventGetInfo", hEvent, static_cast<uint64_t>(iInfoCmd)}););
    }

    GC_API GC_ERROR EventFlush(EVENT_HANDLE hEvent)
    {
        LOWER(EventFlush, self.eventCalls.push_back({"EventFlush", hEvent}););
    }

    GC_API GC_ERROR EventKill(EVENT_HANDLE hEvent)
    {
        LOWER(EventKill, self.eventCalls.push_back({"EventKill", hEvent});
              ++(hEvent == self.errorEvent ? self.errorKills : self.kills); self.changed.notify_all(););
    }

    GC_API GC_ERROR TLOpen(TL_HANDLE *phTL)
    {
        LOWER(TLOpen, *phTL = NewHandle(self, System););
    }

    GC_API GC_ERROR TLClose(TL_HANDLE hTL)
    {
        LOWER(TLClose, Close(self, hTL););
    }

    GC_API GC_ERROR TLGetInfo(TL_HANDLE, TL_INFO_CMD, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        LOWER(TLGetInfo, AnswerText("lower", piType, pBuffer, piSize););
    }

    GC_API GC_ERROR TLGetNumInterfaces(TL_HANDLE, uint32_t *piNumIfaces)
    {
        LOWER(TLGetNumInterfaces, *piNumIfaces = 1;);
    }

    GC_API GC_ERROR TLGetInterfaceID(TL_HANDLE, uint32_t, char *sID, size_t *piSize)
    {
        LOWER(TLGetInterfaceID, AnswerText("if0", nullptr, sID, piSize););
    }

    GC_API GC_ERROR TLGetInterfaceInfo(TL_HANDLE, const char *, INTERFACE_INFO_CMD, INFO_DATATYPE *piType,
                                       void *pBuffer, size_t *piSize)
    {
        LOWER(TLGetInterfaceInfo, AnswerText("if0", piType, pBuffer, piSize););
    }

    GC_API GC_ERROR TLOpenInterface(TL_HANDLE, const char *, IF_HANDLE *phIface)
    {
        LOWER(TLOpenInterface, *phIface = NewHandle(self, Interface););
    }

    GC_API GC_ERROR TLUpdateInterfaceList(TL_HANDLE, bool8_t *, uint64_t)
    {
        LOWER(TLUpdateInterfaceList, );
    }

    GC_API GC_ERROR IFClose(IF_HANDLE hIface)
    {
        LOWER(IFClose, Close(self, hIface););
    }

    GC_API GC_ERROR IFGetInfo(IF_HANDLE, INTERFACE_INFO_CMD, INFO_DATATYPE *piType, void *pBuffer,
                              size_t *piSize)
    {
        LOWER(IFGetInfo, AnswerText("if0", piType, pBuffer, piSize););
    }

    GC_API GC_ERROR IFGetNumDevices(IF_HANDLE, uint32_t *piNumDevices)
    {
        LOWER(IFGetNumDevices, *piNumDevices = static_cast<uint32_t>(self.devices.size()););
    }

    GC_API GC_ERROR IFGetDeviceID(IF_HANDLE, uint32_t iIndex, char *sIDeviceID, size_t *piSize)
    {
        LOWER(
            IFGetDeviceID, if (iIndex >= self.devices.size()) {
                throw Failure{GC_ERR_INVALID_INDEX};
            } AnswerText(self.devices[iIndex].id, nullptr, sIDeviceID, piSize););
    }

    GC_API GC_ERROR IFUpdateDeviceList(IF_HANDLE, bool8_t *, uint64_t)
    {
        LOWER(IFUpdateDeviceList, );
    }

    GC_API GC_ERROR IFGetDeviceInfo(IF_HANDLE, const char *sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                                    INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        LOWER(
            IFGetDeviceInfo, const auto &device = FindDevice(self, sDeviceID);
            if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS) {
                return AnswerValue<int32_t>(INFO_DATATYPE_INT32, DEVICE_ACCESS_STATUS_READWRITE, piType,
                                            pBuffer, piSize);
            } AnswerText(iInfoCmd == DEVICE_INFO_MODEL ? device.model : device.id, piType, pBuffer, piSize););
    }

    GC_API GC_ERROR IFOpenDevice(IF_HANDLE, const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                                 DEV_HANDLE *phDevice)
    {
        LOWER(IFOpenDevice, FindDevice(self, sDeviceID); self.lastAccess = iOpenFlag;
              *phDevice = NewHandle(self, Device););
    }

    GC_API GC_ERROR DevGetPort(DEV_HANDLE, PORT_HANDLE *phRemoteDevice)
    {
        LOWER(DevGetPort, *phRemoteDevice = reinterpret_cast<void *>(Remote););
    }

    GC_API GC_ERROR DevGetNumDataStreams(DEV_HANDLE, uint32_t *piNumDataStreams)
    {
        LOWER(DevGetNumDataStreams, *piNumDataStreams = 3;);
    }

    GC_API GC_ERROR DevGetDataStreamID(DEV_HANDLE, uint32_t iIndex, char *sDataStreamID, size_t *piSize)
    {
        LOWER(DevGetDataStreamID,
              AnswerText("lower stream " + std::to_string(iIndex), nullptr, sDataStreamID, piSize););
    }

    GC_API GC_ERROR DevOpenDataStream(DEV_HANDLE, const char *sDataStreamID, DS_HANDLE *phDataStream)
    {
        LOWER(
            DevOpenDataStream, if (std::string_view(sDataStreamID) != "lower stream 0") {
                throw Failure{GC_ERR_INVALID_ID};
            } *phDataStream = NewHandle(self, Stream););
    }

    GC_API GC_ERROR DevGetInfo(DEV_HANDLE, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                               size_t *piSize)
    {
        LOWER(
            DevGetInfo, if (iInfoCmd == DEVICE_INFO_TIMESTAMP_FREQUENCY && self.timestampFrequency != 0) {
                return AnswerValue(INFO_DATATYPE_UINT64, self.timestampFrequency, piType, pBuffer, piSize);
            } AnswerText("lower device", piType, pBuffer, piSize););
    }

    GC_API GC_ERROR DevClose(DEV_HANDLE hDevice)
    {
        LOWER(DevClose, Close(self, hDevice););
    }

    GC_API GC_ERROR DSAnnounceBuffer(DS_HANDLE, void *, size_t, void *, BUFFER_HANDLE *)
    {
        LOWER(DSAnnounceBuffer, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE, size_t iSize, void *, BUFFER_HANDLE *phBuffer)
    {
        LOWER(DSAllocAndAnnounceBuffer, *phBuffer = NewHandle(self, Buffer);
              self.buffers[*phBuffer] = std::vector<uint8_t>(iSize););
    }

    GC_API GC_ERROR DSFlushQueue(DS_HANDLE, ACQ_QUEUE_TYPE)
    {
        LOWER(DSFlushQueue, self.queued.clear(); self.filled.clear(););
    }

    GC_API GC_ERROR DSStartAcquisition(DS_HANDLE, ACQ_START_FLAGS, uint64_t)
    {
        LOWER(DSStartAcquisition, self.isGrabbing = true; self.kills = 0; self.changed.notify_all(););
    }

    GC_API GC_ERROR DSStopAcquisition(DS_HANDLE, ACQ_STOP_FLAGS)
    {
        LOWER(DSStopAcquisition, self.isGrabbing = false;);
    }

    GC_API GC_ERROR DSGetInfo(DS_HANDLE, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                              size_t *piSize)
    {
        LOWER(DSGetInfo, StreamInfo(self, iInfoCmd, piType, pBuffer, piSize););
    }

    GC_API GC_ERROR DSGetBufferID(DS_HANDLE, uint32_t, BUFFER_HANDLE *)
    {
        LOWER(DSGetBufferID, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSClose(DS_HANDLE hDataStream)
    {
        LOWER(DSClose, Close(self, hDataStream););
    }

    GC_API GC_ERROR DSRevokeBuffer(DS_HANDLE, BUFFER_HANDLE hBuffer, void **, void **)
    {
        LOWER(DSRevokeBuffer, Close(self, hBuffer); self.buffers.erase(hBuffer););
    }

    GC_API GC_ERROR DSQueueBuffer(DS_HANDLE, BUFFER_HANDLE hBuffer)
    {
        LOWER(DSQueueBuffer, self.queued.push_back(hBuffer); self.changed.notify_all(););
    }

    GC_API GC_ERROR DSGetBufferInfo(DS_HANDLE, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                                    INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        LOWER(DSGetBufferInfo, BufferInfo(self, hBuffer, iInfoCmd, piType, pBuffer, piSize););
    }

    GC_API GC_ERROR GCGetNumPortURLs(PORT_HANDLE, uint32_t *piNumURLs)
    {
        LOWER(GCGetNumPortURLs, *piNumURLs = 1;);
    }

    GC_API GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t, URL_INFO_CMD iInfoCmd,
                                     INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        LOWER(
            GCGetPortURLInfo,
            if (!self.knowsUrlParts && iInfoCmd > URL_INFO_FILE_SHA1_HASH) {
                throw Failure{GC_ERR_NOT_IMPLEMENTED};
            } switch (iInfoCmd) {
                case URL_INFO_FILE_REGISTER_ADDRESS:
                    return AnswerValue(INFO_DATATYPE_UINT64, descriptionAddress, piType, pBuffer, piSize);
                case URL_INFO_FILE_SIZE:
                    return AnswerValue<uint64_t>(INFO_DATATYPE_UINT64, XmlOf(self, hPort).size(), piType,
                                                 pBuffer, piSize);
                default:
                    return AnswerText(UrlOf(self, hPort), piType, pBuffer, piSize);
            });
    }

    GC_API GC_ERROR GCReadPortStacked(PORT_HANDLE, PORT_REGISTER_STACK_ENTRY *, size_t *)
    {
        LOWER(GCReadPortStacked, );
    }

    GC_API GC_ERROR GCWritePortStacked(PORT_HANDLE, PORT_REGISTER_STACK_ENTRY *, size_t *)
    {
        LOWER(GCWritePortStacked, );
    }

    GC_API GC_ERROR DSGetBufferChunkData(DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA *pChunkData,
                                         size_t *piNumChunks)
    {
        LOWER(DSGetBufferChunkData, Chunks(self, pChunkData, piNumChunks););
    }

    GC_API GC_ERROR IFGetParentTL(IF_HANDLE, TL_HANDLE *)
    {
        LOWER(IFGetParentTL, );
    }

    GC_API GC_ERROR DevGetParentIF(DEV_HANDLE, IF_HANDLE *)
    {
        LOWER(DevGetParentIF, );
    }

    GC_API GC_ERROR DSGetParentDev(DS_HANDLE, DEV_HANDLE *)
    {
        LOWER(DSGetParentDev, );
    }

    GC_API GC_ERROR DSGetNumBufferParts(DS_HANDLE, BUFFER_HANDLE, uint32_t *piNumParts)
    {
        LOWER(DSGetNumBufferParts, *piNumParts = static_cast<uint32_t>(self.parts.size()););
    }

    GC_API GC_ERROR DSGetBufferPartInfo(DS_HANDLE, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                                        BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                                        size_t *piSize)
    {
        LOWER(DSGetBufferPartInfo, PartInfo(self, hBuffer, iPartIndex, iInfoCmd, piType, pBuffer, piSize););
    }

    GC_API GC_ERROR DSAnnounceCompositeBuffer(DS_HANDLE, size_t, void **, size_t *, void *, BUFFER_HANDLE *)
    {
        LOWER(DSAnnounceCompositeBuffer, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSGetBufferInfoStacked(DS_HANDLE, BUFFER_HANDLE hBuffer,
                                           DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos)
    {
        LOWER(DSGetBufferInfoStacked, AnswerAtOnce(self, hBuffer, pInfoStacked, iNumInfos););
    }

    GC_API GC_ERROR DSGetBufferPartInfoStacked(DS_HANDLE, BUFFER_HANDLE, DS_BUFFER_PART_INFO_STACKED *,
                                               size_t)
    {
        LOWER(DSGetBufferPartInfoStacked, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSGetNumFlows(DS_HANDLE, uint32_t *)
    {
        LOWER(DSGetNumFlows, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSGetFlowInfo(DS_HANDLE, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE *, void *, size_t *)
    {
        LOWER(DSGetFlowInfo, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSGetNumBufferSegments(DS_HANDLE, BUFFER_HANDLE, uint32_t *)
    {
        LOWER(DSGetNumBufferSegments, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

    GC_API GC_ERROR DSGetBufferSegmentInfo(DS_HANDLE, BUFFER_HANDLE, uint32_t, SEGMENT_INFO_CMD,
                                           INFO_DATATYPE *, void *, size_t *)
    {
        LOWER(DSGetBufferSegmentInfo, throw Failure{GC_ERR_NOT_IMPLEMENTED};);
    }

} // extern "C"
} // namespace GenTL
