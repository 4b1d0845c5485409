// The exported functions. Each finds its object, checks the arguments that the object relies on, and calls
// it.

#include "simulator/call.h"
#include "simulator/system/producer.h"

#include <cstring>
#include <utility>

namespace GenTL
{

using namespace simulator;

namespace
{

/// Calls `body` with the object behind the handle, which lives until `body` has returned.
template <typename T, typename Body>
GC_ERROR With(const char *function, const void *handle, Body &&body) noexcept
{
    return Call(function,
                [&]
                {
                    const auto producer = Producer::Get();
                    const auto object = producer->Find<T>(handle);
                    body(*object);
                });
}

/// The same with a buffer of the stream. Nothing changes the buffer meanwhile.
template <typename Body>
GC_ERROR WithBuffer(const char *function, const void *stream, const void *handle, Body &&body) noexcept
{
    return With<DataStream>(function, stream, [&](DataStream &owner) { owner.WithBuffer(handle, body); });
}

template <typename T>
T &Checked(T *pointer, const char *name)
{
    RequireNotNull(pointer, name);
    return *pointer;
}

std::string CheckedText(const char *text, const char *name)
{
    RequireNotNull(text, name);
    return text;
}

template <typename Byte>
std::span<Byte> CheckedBytes(Byte *bytes, const size_t *size)
{
    RequireNotNull(size, "piSize");
    if (*size != 0)
    {
        RequireNotNull(bytes, "pBuffer");
    }
    return {bytes, *size};
}

std::span<uint8_t> Writable(void *bytes, const size_t *size)
{
    return CheckedBytes(static_cast<uint8_t *>(bytes), size);
}

std::span<const uint8_t> Readable(const void *bytes, const size_t *size)
{
    return CheckedBytes(static_cast<const uint8_t *>(bytes), size);
}

/// The answer of an update; the caller need not ask for it.
void TellWhetherChanged(bool changed, bool8_t *pbChanged)
{
    if (pbChanged != nullptr)
    {
        *pbChanged = changed ? 1 : 0;
    }
}

/// Calls `access` for each entry; afterwards `*count` is the number of calls that succeeded.
template <typename Access>
void ForEachEntry(PORT_REGISTER_STACK_ENTRY *entries, size_t *count, Access &&access)
{
    RequireNotNull(count, "piNumEntries");
    if (*count != 0)
    {
        RequireNotNull(entries, "pEntries");
    }
    const size_t total = std::exchange(*count, 0);
    for (; *count < total; ++*count)
    {
        const PORT_REGISTER_STACK_ENTRY entry = entries[*count];
        access(entry, entry.Size);
    }
}

/// Answers each query by itself; the first failure is the result of the call.
template <typename Query, typename Answer>
void AnswerStacked(const char *function, Query *queries, size_t count, Answer &&answer)
{
    RequireNotNull(queries, "pInfoStacked");
    if (count == 0)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iNumInfos must not be 0");
    }
    GC_ERROR first = GC_ERR_SUCCESS;
    for (size_t i = 0; i < count; ++i)
    {
        Query query = queries[i]; // the published layout is packed: its members may be misaligned
        query.iResult = Call(function,
                             [&]
                             {
                                 INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
                                 size_t size = query.iSize;
                                 WriteInfo(answer(query), &type, query.pBuffer, &size);
                                 query.iType = type;
                                 query.iSize = size;
                             });
        queries[i] = query;
        first = first == GC_ERR_SUCCESS ? query.iResult : first;
    }
    if (first != GC_ERR_SUCCESS)
    {
        throw Error(first, "Not all queries were answered");
    }
}

template <typename T>
void WriteParent(const Module &module, T *out, const char *name)
{
    RequireNotNull(out, name);
    const auto parent = module.Parent();
    if (!parent)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The parent was closed");
    }
    *out = parent->Handle();
}

} // namespace

// Library

GC_ERROR GCInitLib()
{
    return Call("GCInitLib", [] { Producer::Initialize(); });
}

GC_ERROR GCCloseLib()
{
    return Call("GCCloseLib", [] { Producer::Shutdown(); });
}

GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    return Call("GCGetInfo", [&] { WriteInfo(Producer::GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR GCGetLastError(GC_ERROR *piErrorCode, char *sErrText, size_t *piSize)
{
    // A failure of this function must not replace the error that the caller asks for.
    const LastError last = LastError::OfThisThread();
    const GC_ERROR result = Call("GCGetLastError",
                                 [&]
                                 {
                                     RequireNotNull(piErrorCode, "piErrorCode");
                                     WriteText(last.text, sErrText, piSize);
                                     *piErrorCode = last.code;
                                 });
    LastError::OfThisThread() = last;
    return result;
}

// Ports

GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    return With<Module>("GCReadPort", hPort,
                        [&](Module &port) { port.Read(iAddress, Writable(pBuffer, piSize)); });
}

GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    return With<Module>("GCWritePort", hPort,
                        [&](Module &port) { port.Write(iAddress, Readable(pBuffer, piSize)); });
}

GC_ERROR GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    return With<Module>("GCReadPortStacked", hPort,
                        [&](Module &port)
                        {
                            ForEachEntry(pEntries, piNumEntries,
                                         [&](const PORT_REGISTER_STACK_ENTRY &entry, size_t size)
                                         { port.Read(entry.Address, Writable(entry.pBuffer, &size)); });
                        });
}

GC_ERROR GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    return With<Module>("GCWritePortStacked", hPort,
                        [&](Module &port)
                        {
                            ForEachEntry(pEntries, piNumEntries,
                                         [&](const PORT_REGISTER_STACK_ENTRY &entry, size_t size)
                                         { port.Write(entry.Address, Readable(entry.pBuffer, &size)); });
                        });
}

GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char *sURL, size_t *piSize)
{
    return With<Module>("GCGetPortURL", hPort, [&](Module &port) { WriteText(port.Url(), sURL, piSize); });
}

GC_ERROR GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t *piNumURLs)
{
    return With<Module>("GCGetNumPortURLs", hPort, [&](Module &) { Checked(piNumURLs, "piNumURLs") = 1; });
}

GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                          void *pBuffer, size_t *piSize)
{
    return With<Module>("GCGetPortURLInfo", hPort,
                        [&](Module &port)
                        { WriteInfo(port.GetUrlInfo(iURLIndex, iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                       size_t *piSize)
{
    return With<Module>("GCGetPortInfo", hPort,
                        [&](Module &port)
                        { WriteInfo(port.GetPortInfo(iInfoCmd), piType, pBuffer, piSize); });
}

// Events

GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    return With<Module>("GCRegisterEvent", hEventSrc,
                        [&](Module &source)
                        {
                            RequireNotNull(phEvent, "phEvent");
                            *phEvent = source.RegisterEvent(iEventID);
                        });
}

GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID)
{
    return With<Module>("GCUnregisterEvent", hEventSrc,
                        [&](Module &source) { source.UnregisterEvent(iEventID); });
}

GC_ERROR EventGetData(EVENT_HANDLE hEvent, void *pBuffer, size_t *piSize, uint64_t iTimeout)
{
    return With<Event>("EventGetData", hEvent,
                       [&](Event &event) { event.GetData(pBuffer, piSize, iTimeout); });
}

GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void *pInBuffer, size_t iInSize,
                          EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pOutBuffer,
                          size_t *piOutSize)
{
    return With<Event>(
        "EventGetDataInfo", hEvent,
        [&](Event &event)
        { WriteInfo(event.GetDataInfo(pInBuffer, iInSize, iInfoCmd), piType, pOutBuffer, piOutSize); });
}

GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                      size_t *piSize)
{
    return With<Event>("EventGetInfo", hEvent,
                       [&](Event &event) { WriteInfo(event.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR EventFlush(EVENT_HANDLE hEvent)
{
    return With<Event>("EventFlush", hEvent, [](Event &event) { event.Flush(); });
}

GC_ERROR EventKill(EVENT_HANDLE hEvent)
{
    return With<Event>("EventKill", hEvent, [](Event &event) { event.Kill(); });
}

// System

GC_ERROR TLOpen(TL_HANDLE *phTL)
{
    return Call("TLOpen",
                [&]
                {
                    const auto producer = Producer::Get();
                    RequireNotNull(phTL, "phTL");
                    *phTL = producer->OpenSystem();
                });
}

GC_ERROR TLClose(TL_HANDLE hTL)
{
    return With<System>("TLClose", hTL, [](System &system) { system.Close(); });
}

GC_ERROR TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    return With<System>("TLGetInfo", hTL,
                        [&](System &system)
                        { WriteInfo(system.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t *pbChanged, uint64_t)
{
    return With<System>("TLUpdateInterfaceList", hTL,
                        [&](System &system) { TellWhetherChanged(system.UpdateList(), pbChanged); });
}

GC_ERROR TLGetNumInterfaces(TL_HANDLE hTL, uint32_t *piNumIfaces)
{
    return With<System>("TLGetNumInterfaces", hTL,
                        [&](System &system)
                        { Checked(piNumIfaces, "piNumIfaces") = system.NumInterfaces(); });
}

GC_ERROR TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char *sID, size_t *piSize)
{
    return With<System>("TLGetInterfaceID", hTL,
                        [&](System &system) { WriteText(system.InterfaceId(iIndex), sID, piSize); });
}

GC_ERROR TLGetInterfaceInfo(TL_HANDLE hTL, const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                            INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    return With<System>("TLGetInterfaceInfo", hTL,
                        [&](System &system)
                        {
                            WriteInfo(system.GetInterfaceInfo(CheckedText(sIfaceID, "sIfaceID"), iInfoCmd),
                                      piType, pBuffer, piSize);
                        });
}

GC_ERROR TLOpenInterface(TL_HANDLE hTL, const char *sIfaceID, IF_HANDLE *phIface)
{
    return With<System>("TLOpenInterface", hTL,
                        [&](System &system)
                        {
                            RequireNotNull(phIface, "phIface");
                            *phIface = system.OpenInterface(CheckedText(sIfaceID, "sIfaceID"));
                        });
}

// Interfaces

GC_ERROR IFClose(IF_HANDLE hIface)
{
    return With<Interface>("IFClose", hIface, [](Interface &interface) { interface.Close(); });
}

GC_ERROR IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                   size_t *piSize)
{
    return With<Interface>("IFGetInfo", hIface,
                           [&](Interface &interface)
                           { WriteInfo(interface.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR IFUpdateDeviceList(IF_HANDLE hIface, bool8_t *pbChanged, uint64_t)
{
    return With<Interface>("IFUpdateDeviceList", hIface,
                           [&](Interface &interface)
                           { TellWhetherChanged(interface.UpdateList(), pbChanged); });
}

GC_ERROR IFGetNumDevices(IF_HANDLE hIface, uint32_t *piNumDevices)
{
    return With<Interface>("IFGetNumDevices", hIface,
                           [&](Interface &interface)
                           { Checked(piNumDevices, "piNumDevices") = interface.NumDevices(); });
}

GC_ERROR IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char *sIDeviceID, size_t *piSize)
{
    return With<Interface>("IFGetDeviceID", hIface,
                           [&](Interface &interface)
                           { WriteText(interface.DeviceId(iIndex), sIDeviceID, piSize); });
}

GC_ERROR IFGetDeviceInfo(IF_HANDLE hIface, const char *sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                         INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    return With<Interface>("IFGetDeviceInfo", hIface,
                           [&](Interface &interface)
                           {
                               WriteInfo(
                                   interface.GetDeviceInfo(CheckedText(sDeviceID, "sDeviceID"), iInfoCmd),
                                   piType, pBuffer, piSize);
                           });
}

GC_ERROR IFOpenDevice(IF_HANDLE hIface, const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                      DEV_HANDLE *phDevice)
{
    return With<Interface>("IFOpenDevice", hIface,
                           [&](Interface &interface)
                           {
                               RequireNotNull(phDevice, "phDevice");
                               *phDevice =
                                   interface.OpenDevice(CheckedText(sDeviceID, "sDeviceID"), iOpenFlag);
                           });
}

GC_ERROR IFGetParentTL(IF_HANDLE hIface, TL_HANDLE *phSystem)
{
    return With<Interface>("IFGetParentTL", hIface,
                           [&](Interface &interface) { WriteParent(interface, phSystem, "phSystem"); });
}

// Devices

GC_ERROR DevClose(DEV_HANDLE hDevice)
{
    return With<Device>("DevClose", hDevice, [](Device &device) { device.Close(); });
}

GC_ERROR DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                    size_t *piSize)
{
    return With<Device>("DevGetInfo", hDevice,
                        [&](Device &device)
                        { WriteInfo(device.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE *phRemoteDevice)
{
    return With<Device>("DevGetPort", hDevice,
                        [&](Device &device)
                        { Checked(phRemoteDevice, "phRemoteDevice") = device.CameraHandle(); });
}

GC_ERROR DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t *piNumDataStreams)
{
    return With<Device>("DevGetNumDataStreams", hDevice,
                        [&](Device &) { Checked(piNumDataStreams, "piNumDataStreams") = 1; });
}

GC_ERROR DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char *sDataStreamID, size_t *piSize)
{
    return With<Device>("DevGetDataStreamID", hDevice,
                        [&](Device &)
                        {
                            if (iIndex != 0)
                            {
                                throw Error(GC_ERR_INVALID_INDEX, "There is one stream only");
                            }
                            WriteText(DataStream::id, sDataStreamID, piSize);
                        });
}

GC_ERROR DevOpenDataStream(DEV_HANDLE hDevice, const char *sDataStreamID, DS_HANDLE *phDataStream)
{
    return With<Device>("DevOpenDataStream", hDevice,
                        [&](Device &device)
                        {
                            RequireNotNull(phDataStream, "phDataStream");
                            *phDataStream = device.OpenStream(CheckedText(sDataStreamID, "sDataStreamID"));
                        });
}

GC_ERROR DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE *phIface)
{
    return With<Device>("DevGetParentIF", hDevice,
                        [&](Device &device) { WriteParent(device, phIface, "phIface"); });
}

// Streams

GC_ERROR DSClose(DS_HANDLE hDataStream)
{
    return With<DataStream>("DSClose", hDataStream, [](DataStream &stream) { stream.Close(); });
}

GC_ERROR DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                   size_t *piSize)
{
    return With<DataStream>("DSGetInfo", hDataStream,
                            [&](DataStream &stream)
                            { WriteInfo(stream.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE *phDevice)
{
    return With<DataStream>("DSGetParentDev", hDataStream,
                            [&](DataStream &stream) { WriteParent(stream, phDevice, "phDevice"); });
}

GC_ERROR DSAnnounceBuffer(DS_HANDLE hDataStream, void *pBuffer, size_t iSize, void *pPrivate,
                          BUFFER_HANDLE *phBuffer)
{
    return With<DataStream>("DSAnnounceBuffer", hDataStream,
                            [&](DataStream &stream)
                            {
                                RequireNotNull(pBuffer, "pBuffer");
                                RequireNotNull(phBuffer, "phBuffer");
                                *phBuffer = stream.Announce(pBuffer, iSize, pPrivate);
                            });
}

GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void *pPrivate,
                                  BUFFER_HANDLE *phBuffer)
{
    return With<DataStream>("DSAllocAndAnnounceBuffer", hDataStream,
                            [&](DataStream &stream)
                            {
                                RequireNotNull(phBuffer, "phBuffer");
                                *phBuffer = stream.Announce(nullptr, iSize, pPrivate);
                            });
}

GC_ERROR DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t, void **, size_t *, void *, BUFFER_HANDLE *)
{
    return With<DataStream>(
        "DSAnnounceCompositeBuffer", hDataStream,
        [](DataStream &)
        { throw Error(GC_ERR_NOT_IMPLEMENTED, "The streams of this producer have no flows"); });
}

GC_ERROR DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void **pBuffer, void **pPrivate)
{
    return With<DataStream>("DSRevokeBuffer", hDataStream,
                            [&](DataStream &stream) { stream.Revoke(hBuffer, pBuffer, pPrivate); });
}

GC_ERROR DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer)
{
    return With<DataStream>("DSQueueBuffer", hDataStream, [&](DataStream &stream) { stream.Queue(hBuffer); });
}

GC_ERROR DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE *phBuffer)
{
    return With<DataStream>("DSGetBufferID", hDataStream,
                            [&](DataStream &stream)
                            { Checked(phBuffer, "phBuffer") = stream.BufferAt(iIndex); });
}

GC_ERROR DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation)
{
    return With<DataStream>("DSFlushQueue", hDataStream,
                            [&](DataStream &stream) { stream.Flush(iOperation); });
}

GC_ERROR DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire)
{
    return With<DataStream>("DSStartAcquisition", hDataStream,
                            [&](DataStream &stream) { stream.Start(iStartFlags, iNumToAcquire); });
}

GC_ERROR DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags)
{
    return With<DataStream>("DSStopAcquisition", hDataStream,
                            [&](DataStream &stream) { stream.Stop(iStopFlags); });
}

GC_ERROR DSGetNumFlows(DS_HANDLE hDataStream, uint32_t *piNumFlows)
{
    return With<DataStream>("DSGetNumFlows", hDataStream,
                            [&](DataStream &) { Checked(piNumFlows, "piNumFlows") = 0; });
}

GC_ERROR DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE *, void *, size_t *)
{
    return With<DataStream>(
        "DSGetFlowInfo", hDataStream,
        [](DataStream &)
        { throw Error(GC_ERR_INVALID_INDEX, "The streams of this producer have no flows"); });
}

// Buffers

GC_ERROR DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                         INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    return WithBuffer("DSGetBufferInfo", hDataStream, hBuffer,
                      [&](Buffer &buffer) { WriteInfo(buffer.GetInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos)
{
    const char *const function = "DSGetBufferInfoStacked";
    return WithBuffer(function, hDataStream, hBuffer,
                      [&](Buffer &buffer)
                      {
                          AnswerStacked(function, pInfoStacked, iNumInfos,
                                        [&](const auto &query) { return buffer.GetInfo(query.iInfoCmd); });
                      });
}

GC_ERROR DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t *piNumParts)
{
    return WithBuffer("DSGetNumBufferParts", hDataStream, hBuffer,
                      [&](Buffer &buffer) { Checked(piNumParts, "piNumParts") = buffer.NumParts(); });
}

GC_ERROR DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                             BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                             size_t *piSize)
{
    return WithBuffer("DSGetBufferPartInfo", hDataStream, hBuffer,
                      [&](Buffer &buffer)
                      { WriteInfo(buffer.GetPartInfo(iPartIndex, iInfoCmd), piType, pBuffer, piSize); });
}

GC_ERROR DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                    DS_BUFFER_PART_INFO_STACKED *pInfoStacked, size_t iNumInfos)
{
    const char *const function = "DSGetBufferPartInfoStacked";
    return WithBuffer(function, hDataStream, hBuffer,
                      [&](Buffer &buffer)
                      {
                          AnswerStacked(function, pInfoStacked, iNumInfos,
                                        [&](const auto &query)
                                        { return buffer.GetPartInfo(query.iPartIndex, query.iInfoCmd); });
                      });
}

GC_ERROR DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, SINGLE_CHUNK_DATA *pChunkData,
                              size_t *piNumChunks)
{
    return WithBuffer("DSGetBufferChunkData", hDataStream, hBuffer,
                      [&](Buffer &buffer) { buffer.GetChunks(pChunkData, piNumChunks); });
}

GC_ERROR DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t *piNumSegments)
{
    return WithBuffer("DSGetNumBufferSegments", hDataStream, hBuffer,
                      [&](Buffer &) { Checked(piNumSegments, "piNumSegments") = 1; });
}

GC_ERROR DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iSegmentIndex,
                                SEGMENT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                                size_t *piSize)
{
    return WithBuffer("DSGetBufferSegmentInfo", hDataStream, hBuffer,
                      [&](Buffer &buffer) {
                          WriteInfo(buffer.GetSegmentInfo(iSegmentIndex, iInfoCmd), piType, pBuffer, piSize);
                      });
}

} // namespace GenTL
