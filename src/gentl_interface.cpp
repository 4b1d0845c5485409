// The exports. Each one names itself, turns handles into objects, checks its arguments and calls the object's
// operation. Only this file turns exceptions into the codes and last errors that a consumer gets.

#include "datastream/buffer.h"
#include "datastream/datastream.h"
#include "device.h"
#include "events/event_handler.h"
#include "interface.h"
#include "library.h"
#include "system.h"
#include "utils/checks.h"
#include "utils/exception_code.h"
#include "utils/log.h"

#include <gentl/gentl.h>

#include <cstring>
#include <string_view>

using GenTL::internal::Buffer;
using GenTL::internal::Datastream;
using GenTL::internal::Device;
using GenTL::internal::ErrorCodeOf;
using GenTL::internal::EventHandler;
using GenTL::internal::GenTLException;
using GenTL::internal::IEventSource;
using GenTL::internal::InstanceManager;
using GenTL::internal::Interface;
using GenTL::internal::IPort;
using GenTL::internal::IsMissingAnswer;
using GenTL::internal::Library;
using GenTL::internal::System;
using namespace GenTL::internal::utils;

// C-01: GenTLCall stands at global scope and spells out its return type, because log filters match the name
// that its records get from its signature.
namespace
{

/// Runs the body of an export.
template <typename Body>
GenTL::GC_ERROR GenTLCall(std::string_view name, Body body)
{
    try
    {
        body();
        // A success leaves the last error of an earlier failure in place.
        return GenTL::GC_ERR_SUCCESS;
    }
    catch (const GenTLException &exception)
    {
        Library::Instance().SetLastError(name, exception.what(), exception.Code());
        if (Library::Instance().GetProfile().buffers.logsMissingAnswers || !IsMissingAnswer(exception.Code()))
        {
            QVR_LOG_ERROR(std::string_view(exception.what()));
        }
        return exception.Code();
    }
    catch (const std::exception &exception)
    {
        // C-02: logged before the last error is set, in the opposite order of the branch above.
        QVR_LOG_CRITICAL(std::string_view(exception.what()));
        Library::Instance().SetLastError(name, exception.what(), GenTL::GC_ERR_ERROR);
        return GenTL::GC_ERR_ERROR;
    }
}

} // namespace

namespace GenTL
{
namespace
{

InstanceManager &Instances()
{
    return Library::Instance().GetInstanceManager();
}

template <typename T>
using RegistryOf = InstanceManager::Registry<void *, T> InstanceManager::*;

[[noreturn]] void ThrowInvalidHandle(std::string_view name)
{
    throw GenTLException(fmt::format("{} is an invalid handle", name), GC_ERR_INVALID_HANDLE);
}

template <typename T>
std::shared_ptr<T> Lookup(RegistryOf<T> registry, std::string_view name, void *handle)
{
    auto object = (Instances().*registry).Find(handle);
    if (!object)
    {
        ThrowInvalidHandle(name);
    }
    return object;
}

/// Checks a handle for a function that does not use its object. It takes no reference: the last reference
/// destroys the object, and that must not happen on this thread.
template <typename T>
void CheckKnown(RegistryOf<T> registry, std::string_view name, void *handle)
{
    if (!(Instances().*registry).Contains(handle))
    {
        ThrowInvalidHandle(name);
    }
}

std::shared_ptr<System> SystemOf(TL_HANDLE handle)
{
    return Lookup(&InstanceManager::systems, "hTL", handle);
}

std::shared_ptr<Interface> InterfaceOf(IF_HANDLE handle)
{
    return Lookup(&InstanceManager::interfaces, "hIface", handle);
}

std::shared_ptr<Device> DeviceOf(DEV_HANDLE handle)
{
    return Lookup(&InstanceManager::devices, "hDevice", handle);
}

std::shared_ptr<Datastream> StreamOf(DS_HANDLE handle)
{
    return Lookup(&InstanceManager::datastreams, "hDataStream", handle);
}

void CheckStream(DS_HANDLE handle)
{
    CheckKnown(&InstanceManager::datastreams, "hDataStream", handle);
}

/// The buffer of a handle. Checks the handle of the stream first.
std::shared_ptr<Buffer> BufferOf(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer)
{
    CheckStream(hDataStream);
    return Lookup(&InstanceManager::buffers, "hBuffer", hBuffer);
}

void CheckStreamAndBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer)
{
    CheckStream(hDataStream);
    CheckKnown(&InstanceManager::buffers, "hBuffer", hBuffer);
}

std::shared_ptr<IPort> PortOf(PORT_HANDLE handle)
{
    auto port = Library::Instance().FindPort(handle);
    if (!port)
    {
        ThrowInvalidHandle("hPort");
    }
    return port;
}

std::shared_ptr<IEventSource> EventSourceOf(EVENTSRC_HANDLE handle)
{
    auto source = Library::Instance().FindEventSource(handle);
    if (!source)
    {
        throw GenTLException("Handle not found", GC_ERR_INVALID_HANDLE);
    }
    return source;
}

/// Whether a lower call failed because the device is gone.
bool IsGone(GC_ERROR code)
{
    return code == GC_ERR_IO || code == GC_ERR_TIMEOUT || code == GC_ERR_INVALID_HANDLE ||
           code == GC_ERR_ERROR;
}

void UnregisterEvent(IEventSource &source, EVENT_TYPE type)
{
    try
    {
        source.UnregisterEvent(type);
    }
    catch (const GenTLException &exception)
    {
        if (!Library::Instance().GetProfile().stream.stopAlwaysSucceeds || !IsGone(exception.Code()))
        {
            throw;
        }
        QVR_LOG_DEBUG("The event is lost with its device: {}", exception.what());
    }
}

/// The local event behind a handle; null for an event of the lower producer.
std::shared_ptr<EventHandler> LocalEvent(EVENT_HANDLE handle)
{
    return Instances().events.Find(handle);
}

[[noreturn]] void ThrowNotImplemented()
{
    throw GenTLException("not implemented", GC_ERR_NOT_IMPLEMENTED);
}

} // namespace

extern "C"
{

    // The library as a whole

    GC_API GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        return GenTLCall("GCGetInfo",
                         [&] { Library::Instance().GetInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    // Without GenTLCall: a failure to report the last error must not replace it.
    GC_API GC_ERROR GCGetLastError(GC_ERROR *piErrorCode, char *sErrText, size_t *piSize)
    {
        if (piErrorCode == nullptr || piSize == nullptr)
        {
            return GC_ERR_INVALID_PARAMETER;
        }
        std::string_view text;
        try
        {
            auto &library = Library::Instance();
            if (!library.GetProfile().lower.tellsInitFailure || library.GetLastErrorMessage().empty())
            {
                library.CheckLibraryInitialized();
            }
            *piErrorCode = library.GetLastErrorCode();
            text = library.GetLastErrorMessage();
        }
        catch (const std::exception &exception)
        {
            QVR_LOG_ERROR(std::string_view(exception.what()));
            return ErrorCodeOf(exception);
        }
        if (text.empty())
        {
            text = "No Error";
        }
        const size_t needed = text.size() + 1;
        if (sErrText != nullptr)
        {
            if (*piSize < needed)
            {
                return GC_ERR_BUFFER_TOO_SMALL;
            }
            std::memcpy(sErrText, text.data(), text.size());
            sErrText[text.size()] = '\0';
        }
        *piSize = needed;
        return GC_ERR_SUCCESS;
    }

    GC_API GC_ERROR GCInitLib()
    {
        return GenTLCall("GCInitLib", [] { Library::Instance().Initialize(); });
    }

    GC_API GC_ERROR GCCloseLib()
    {
        return GenTLCall("GCCloseLib", [] { Library::Instance().Shutdown(); });
    }

    // Ports and event registration

    GC_API GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void *pBuffer, size_t *piSize)
    {
        return GenTLCall("GCReadPort", [&] { PortOf(hPort)->ReadPort(iAddress, pBuffer, piSize); });
    }

    GC_API GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void *pBuffer, size_t *piSize)
    {
        return GenTLCall("GCWritePort", [&] { PortOf(hPort)->WritePort(iAddress, pBuffer, piSize); });
    }

    GC_API GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char *sURL, size_t *piSize)
    {
        return GenTLCall("GCGetPortURL", [&] { PortOf(hPort)->GetPortURL(sURL, piSize); });
    }

    GC_API GC_ERROR GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                  void *pBuffer, size_t *piSize)
    {
        return GenTLCall("GCGetPortInfo",
                         [&] { PortOf(hPort)->GetPortInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t *piNumURLs)
    {
        return GenTLCall("GCGetNumPortURLs", [&] { PortOf(hPort)->GetNumPortURLs(piNumURLs); });
    }

    GC_API GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                                     INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        return GenTLCall("GCGetPortURLInfo", [&]
                         { PortOf(hPort)->GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY *pEntries,
                                      size_t *piNumEntries)
    {
        return GenTLCall("GCReadPortStacked",
                         [&] { PortOf(hPort)->ReadPortStacked(pEntries, piNumEntries); });
    }

    GC_API GC_ERROR GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY *pEntries,
                                       size_t *piNumEntries)
    {
        return GenTLCall("GCWritePortStacked",
                         [&] { PortOf(hPort)->WritePortStacked(pEntries, piNumEntries); });
    }

    GC_API GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
    {
        return GenTLCall("GCRegisterEvent",
                         [&] { EventSourceOf(hEventSrc)->RegisterEvent(iEventID, phEvent); });
    }

    GC_API GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID)
    {
        return GenTLCall("GCUnregisterEvent", [&] { UnregisterEvent(*EventSourceOf(hEventSrc), iEventID); });
    }

    // Events of the producer's streams. Handles of all other events belong to the lower producer and go on to
    // it.

    GC_API GC_ERROR EventGetData(EVENT_HANDLE hEvent, void *pBuffer, size_t *piSize, uint64_t iTimeout)
    {
        return GenTLCall("EventGetData",
                         [&]
                         {
                             if (const auto event = LocalEvent(hEvent))
                             {
                                 return event->Data(pBuffer, piSize, iTimeout);
                             }
                             Library::Instance().GetProxy().EventGetData(hEvent, pBuffer, piSize, iTimeout);
                         });
    }

    GC_API GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void *pInBuffer, size_t iInSize,
                                     EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pOutBuffer,
                                     size_t *piOutSize)
    {
        return GenTLCall("EventGetDataInfo",
                         [&]
                         {
                             if (const auto event = LocalEvent(hEvent))
                             {
                                 return event->DataInfo(pInBuffer, iInSize, iInfoCmd, piType, pOutBuffer,
                                                        piOutSize);
                             }
                             Library::Instance().GetProxy().EventGetDataInfo(
                                 hEvent, pInBuffer, iInSize, iInfoCmd, piType, pOutBuffer, piOutSize);
                         });
    }

    GC_API GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                 void *pBuffer, size_t *piSize)
    {
        return GenTLCall("EventGetInfo",
                         [&]
                         {
                             if (const auto event = LocalEvent(hEvent))
                             {
                                 return event->Info(iInfoCmd, piType, pBuffer, piSize);
                             }
                             Library::Instance().GetProxy().EventGetInfo(hEvent, iInfoCmd, piType, pBuffer,
                                                                         piSize);
                         });
    }

    GC_API GC_ERROR EventFlush(EVENT_HANDLE hEvent)
    {
        return GenTLCall("EventFlush",
                         [&]
                         {
                             if (const auto event = LocalEvent(hEvent))
                             {
                                 return event->Flush();
                             }
                             Library::Instance().GetProxy().EventFlush(hEvent);
                         });
    }

    GC_API GC_ERROR EventKill(EVENT_HANDLE hEvent)
    {
        return GenTLCall("EventKill",
                         [&]
                         {
                             if (const auto event = LocalEvent(hEvent))
                             {
                                 return event->Kill();
                             }
                             Library::Instance().GetProxy().EventKill(hEvent);
                         });
    }

    // System

    GC_API GC_ERROR TLOpen(TL_HANDLE *phTL)
    {
        return GenTLCall("TLOpen", [&] { Library::Instance().OpenSystem(phTL); });
    }

    GC_API GC_ERROR TLClose(TL_HANDLE hTL)
    {
        return GenTLCall("TLClose", [&] { Library::Instance().CloseSystem(hTL); });
    }

    GC_API GC_ERROR TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                              size_t *piSize)
    {
        return GenTLCall("TLGetInfo", [&] { SystemOf(hTL)->TLGetInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR TLGetNumInterfaces(TL_HANDLE hTL, uint32_t *piNumIfaces)
    {
        return GenTLCall("TLGetNumInterfaces", [&] { SystemOf(hTL)->TLGetNumInterfaces(piNumIfaces); });
    }

    GC_API GC_ERROR TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char *sID, size_t *piSize)
    {
        return GenTLCall("TLGetInterfaceID", [&] { SystemOf(hTL)->TLGetInterfaceID(iIndex, sID, piSize); });
    }

    GC_API GC_ERROR TLGetInterfaceInfo(TL_HANDLE hTL, const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                                       INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        return GenTLCall("TLGetInterfaceInfo", [&]
                         { SystemOf(hTL)->TLGetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR TLOpenInterface(TL_HANDLE hTL, const char *sIfaceID, IF_HANDLE *phIface)
    {
        return GenTLCall("TLOpenInterface", [&] { SystemOf(hTL)->TLOpenInterface(sIfaceID, phIface); });
    }

    GC_API GC_ERROR TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t *pbChanged, uint64_t iTimeout)
    {
        return GenTLCall("TLUpdateInterfaceList",
                         [&] { SystemOf(hTL)->TLUpdateInterfaceList(pbChanged, iTimeout); });
    }

    // Interface

    GC_API GC_ERROR IFClose(IF_HANDLE hIface)
    {
        return GenTLCall("IFClose", [&] { Instances().interfaces.Remove(hIface); });
    }

    GC_API GC_ERROR IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                              void *pBuffer, size_t *piSize)
    {
        return GenTLCall("IFGetInfo",
                         [&] { InterfaceOf(hIface)->IFGetInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR IFGetNumDevices(IF_HANDLE hIface, uint32_t *piNumDevices)
    {
        return GenTLCall("IFGetNumDevices", [&] { InterfaceOf(hIface)->IFGetNumDevices(piNumDevices); });
    }

    GC_API GC_ERROR IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char *sIDeviceID, size_t *piSize)
    {
        return GenTLCall("IFGetDeviceID",
                         [&] { InterfaceOf(hIface)->IFGetDeviceID(iIndex, sIDeviceID, piSize); });
    }

    GC_API GC_ERROR IFUpdateDeviceList(IF_HANDLE hIface, bool8_t *pbChanged, uint64_t iTimeout)
    {
        return GenTLCall("IFUpdateDeviceList",
                         [&] { InterfaceOf(hIface)->IFUpdateDeviceList(pbChanged, iTimeout); });
    }

    GC_API GC_ERROR IFGetDeviceInfo(IF_HANDLE hIface, const char *sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                                    INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        return GenTLCall(
            "IFGetDeviceInfo",
            [&] { InterfaceOf(hIface)->IFGetDeviceInfo(sDeviceID, iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR IFOpenDevice(IF_HANDLE hIface, const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags,
                                 DEV_HANDLE *phDevice)
    {
        return GenTLCall("IFOpenDevice",
                         [&] { InterfaceOf(hIface)->IFOpenDevice(sDeviceID, iOpenFlags, phDevice); });
    }

    GC_API GC_ERROR IFGetParentTL(IF_HANDLE hIface, TL_HANDLE *phSystem)
    {
        return GenTLCall("IFGetParentTL",
                         [&]
                         {
                             const auto interface = InterfaceOf(hIface);
                             CheckNotNull("phSystem", phSystem);
                             *phSystem = interface->GetParentSystem();
                         });
    }

    // Device

    GC_API GC_ERROR DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE *phRemoteDevice)
    {
        return GenTLCall("DevGetPort", [&] { DeviceOf(hDevice)->DevGetPort(phRemoteDevice); });
    }

    GC_API GC_ERROR DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t *piNumDataStreams)
    {
        return GenTLCall("DevGetNumDataStreams",
                         [&] { DeviceOf(hDevice)->DevGetNumDataStreams(piNumDataStreams); });
    }

    GC_API GC_ERROR DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char *sDataStreamID,
                                       size_t *piSize)
    {
        return GenTLCall("DevGetDataStreamID",
                         [&] { DeviceOf(hDevice)->DevGetDataStreamID(iIndex, sDataStreamID, piSize); });
    }

    GC_API GC_ERROR DevOpenDataStream(DEV_HANDLE hDevice, const char *sDataStreamID, DS_HANDLE *phDataStream)
    {
        return GenTLCall("DevOpenDataStream",
                         [&] { DeviceOf(hDevice)->DevOpenDataStream(sDataStreamID, phDataStream); });
    }

    GC_API GC_ERROR DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                               void *pBuffer, size_t *piSize)
    {
        return GenTLCall("DevGetInfo",
                         [&] { DeviceOf(hDevice)->DevGetInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR DevClose(DEV_HANDLE hDevice)
    {
        return GenTLCall("DevClose", [&] { Instances().devices.Remove(hDevice); });
    }

    GC_API GC_ERROR DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE *phIface)
    {
        return GenTLCall("DevGetParentIF",
                         [&]
                         {
                             const auto device = DeviceOf(hDevice);
                             CheckNotNull("phIface", phIface);
                             *phIface = device->GetParentHandle();
                         });
    }

    // Data stream

    GC_API GC_ERROR DSAnnounceBuffer(DS_HANDLE hDataStream, void *pBuffer, size_t iSize, void *pPrivate,
                                     BUFFER_HANDLE *phBuffer)
    {
        return GenTLCall("DSAnnounceBuffer", [&]
                         { StreamOf(hDataStream)->DSAnnounceBuffer(pBuffer, iSize, pPrivate, phBuffer); });
    }

    GC_API GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void *pPrivate,
                                             BUFFER_HANDLE *phBuffer)
    {
        return GenTLCall("DSAllocAndAnnounceBuffer",
                         [&] { StreamOf(hDataStream)->DSAllocAndAnnounceBuffer(iSize, pPrivate, phBuffer); });
    }

    GC_API GC_ERROR DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation)
    {
        return GenTLCall("DSFlushQueue", [&] { StreamOf(hDataStream)->DSFlushQueue(iOperation); });
    }

    GC_API GC_ERROR DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                                       uint64_t iNumToAcquire)
    {
        return GenTLCall("DSStartAcquisition",
                         [&] { StreamOf(hDataStream)->DSStartAcquisition(iStartFlags, iNumToAcquire); });
    }

    GC_API GC_ERROR DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags)
    {
        return GenTLCall("DSStopAcquisition", [&] { StreamOf(hDataStream)->DSStopAcquisition(iStopFlags); });
    }

    GC_API GC_ERROR DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                              void *pBuffer, size_t *piSize)
    {
        return GenTLCall("DSGetInfo",
                         [&] { StreamOf(hDataStream)->DSGetInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE *phBuffer)
    {
        return GenTLCall("DSGetBufferID", [&] { StreamOf(hDataStream)->DSGetBufferID(iIndex, phBuffer); });
    }

    GC_API GC_ERROR DSClose(DS_HANDLE hDataStream)
    {
        return GenTLCall("DSClose",
                         [&]
                         {
                             const auto stream = StreamOf(hDataStream);
                             const auto device = Instances().devices.Find(stream->GetParentHandle());
                             if (device)
                             {
                                 device->ReleaseDataStream();
                             }
                             Instances().datastreams.Remove(hDataStream);
                         });
    }

    GC_API GC_ERROR DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void **ppBuffer,
                                   void **ppPrivate)
    {
        return GenTLCall("DSRevokeBuffer",
                         [&] { StreamOf(hDataStream)->DSRevokeBuffer(hBuffer, ppBuffer, ppPrivate); });
    }

    GC_API GC_ERROR DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer)
    {
        return GenTLCall("DSQueueBuffer", [&] { StreamOf(hDataStream)->QueueBuffer(hBuffer); });
    }

    GC_API GC_ERROR DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE *phDevice)
    {
        return GenTLCall("DSGetParentDev",
                         [&]
                         {
                             const auto stream = StreamOf(hDataStream);
                             CheckNotNull("phDevice", phDevice);
                             *phDevice = stream->GetParentHandle();
                         });
    }

    // Buffer

    GC_API GC_ERROR DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                                    INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
    {
        return GenTLCall(
            "DSGetBufferInfo",
            [&] { BufferOf(hDataStream, hBuffer)->DSGetBufferInfo(iInfoCmd, piType, pBuffer, piSize); });
    }

    GC_API GC_ERROR DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                         SINGLE_CHUNK_DATA *pChunkData, size_t *piNumChunks)
    {
        return GenTLCall("DSGetBufferChunkData", [&]
                         { BufferOf(hDataStream, hBuffer)->DSGetBufferChunkData(pChunkData, piNumChunks); });
    }

    GC_API GC_ERROR DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t *piNumParts)
    {
        return GenTLCall("DSGetNumBufferParts",
                         [&]
                         {
                             const auto buffer = BufferOf(hDataStream, hBuffer);
                             CheckNotNull("piNumParts", piNumParts);
                             *piNumParts = buffer->DSGetNumBufferParts();
                         });
    }

    GC_API GC_ERROR DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                                        BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                                        size_t *piSize)
    {
        return GenTLCall("DSGetBufferPartInfo",
                         [&] {
                             BufferOf(hDataStream, hBuffer)
                                 ->DSGetBufferPartInfo(iPartIndex, iInfoCmd, piType, pBuffer, piSize);
                         });
    }

    GC_API GC_ERROR DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                           DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos)
    {
        return GenTLCall(
            "DSGetBufferInfoStacked",
            [&] { BufferOf(hDataStream, hBuffer)->DSGetBufferInfoStacked(pInfoStacked, iNumInfos); });
    }

    GC_API GC_ERROR DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                               DS_BUFFER_PART_INFO_STACKED *pInfoStacked, size_t iNumInfos)
    {
        return GenTLCall(
            "DSGetBufferPartInfoStacked",
            [&] { BufferOf(hDataStream, hBuffer)->DSGetBufferPartInfoStacked(pInfoStacked, iNumInfos); });
    }

    // Functions that are exported but not implemented. They validate their arguments first, so a wrong
    // argument is reported rather than GC_ERR_NOT_IMPLEMENTED.

    GC_API GC_ERROR DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t iNumSegments, void **ppSegments,
                                              size_t *piSizes, void * /*pPrivate*/, BUFFER_HANDLE *phBuffer)
    {
        return GenTLCall(
            "DSAnnounceCompositeBuffer",
            [&]
            {
                CheckStream(hDataStream);
                CheckNotNull({{"ppSegments", ppSegments}, {"piSizes", piSizes}, {"phBuffer", phBuffer}});
                CheckNotZero("iNumSegments", iNumSegments);
                for (size_t i = 0; i < iNumSegments; ++i)
                {
                    CheckNotNull("ppSegments[i]", ppSegments[i]);
                }
                ThrowNotImplemented();
            });
    }

    GC_API GC_ERROR DSGetNumFlows(DS_HANDLE hDataStream, uint32_t *piNumFlows)
    {
        return GenTLCall("DSGetNumFlows",
                         [&]
                         {
                             CheckStream(hDataStream);
                             CheckNotNull("piNumFlows", piNumFlows);
                             ThrowNotImplemented();
                         });
    }

    GC_API GC_ERROR DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t /*iFlowIndex*/, FLOW_INFO_CMD /*iInfoCmd*/,
                                  INFO_DATATYPE *piType, void * /*pBuffer*/, size_t *piSize)
    {
        return GenTLCall("DSGetFlowInfo",
                         [&]
                         {
                             CheckStream(hDataStream);
                             CheckNotNull({{"piType", piType}, {"piSize", piSize}});
                             ThrowNotImplemented();
                         });
    }

    GC_API GC_ERROR DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                           uint32_t *piNumSegments)
    {
        return GenTLCall("DSGetNumBufferSegments",
                         [&]
                         {
                             CheckStreamAndBuffer(hDataStream, hBuffer);
                             CheckNotNull("piNumSegments", piNumSegments);
                             *piNumSegments = 0;
                             ThrowNotImplemented();
                         });
    }

    GC_API GC_ERROR DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                           uint32_t /*iSegmentIndex*/, SEGMENT_INFO_CMD /*iInfoCmd*/,
                                           INFO_DATATYPE *piType, void * /*pBuffer*/, size_t *piSize)
    {
        return GenTLCall("DSGetBufferSegmentInfo",
                         [&]
                         {
                             CheckStreamAndBuffer(hDataStream, hBuffer);
                             CheckNotNull({{"piType", piType}, {"piSize", piSize}});
                             ThrowNotImplemented();
                         });
    }

} // extern "C"
} // namespace GenTL
