#pragma once

#include "datastream/full_frame_reader.h"
#include "datastream/i_output_queue.h"
#include "i_proxy_system.h"
#include "nodemap/descriptions.h"
#include "port/proxy_module.h"
#include "processing/i_frame_processor.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace GenTL::internal
{

class ConversionDelivery;
class ConversionProcessor;
class EditedRemote;
class ILibrary;
class RemotePort;

/// A lower device that was opened, and its port.
struct LowerDevice
{
    std::shared_ptr<IGenTLProxy> proxy;
    DEV_HANDLE device;
    PORT_HANDLE port;
    DEVICE_ACCESS_FLAGS access = DEVICE_ACCESS_CONTROL;
};

/// What a device consists of, seen from its stream and from its consumer.
struct RemoteSide
{
    std::shared_ptr<RemotePort> port;           ///< the remote port that the consumer reads and writes
    std::shared_ptr<IFrameProcessor> processor; ///< configured through that port
    std::function<size_t()> payloadSize;        ///< bytes of a frame before processing, as the device says
    /// Takes the source of the payload size that the open lower stream defines; an empty function when the
    /// stream is closed.
    std::function<void(std::function<std::optional<uint64_t>()>)> setStreamPayloadSize = [](const auto &) {};
};

/// Overrides registers of the device at their own addresses, under the device's own description.
/// @throws as the constructor of RemotePort
RemoteSide MakeOverriddenRemoteSide(const LowerDevice &device);

/// Adds the producer's registers to those of the device, in an edited description.
/// @throws as the constructor of EditedRemote
RemoteSide MakeEditedRemoteSide(const LowerDevice &device);

/// Makes the delivery offer calibrated depth when the device has a lens. It keeps references to the others.
void AddCalibratedDepth(EditedRemote &remote, ConversionProcessor &processor, ConversionDelivery &delivery);

/// Reads the lower system through its own description.
std::shared_ptr<IProxySystem> MakeDescribedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE lowerSystem);

/// Reads the lower system through its list calls.
std::shared_ptr<IProxySystem> MakeListedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE lowerSystem);

/// Reads those values of a frame that the processing needs.
std::unique_ptr<IFrameReader> MakeBriefFrameReader(const FrameSource &source);
/// Reads every value that the lower producer has for a frame.
std::unique_ptr<IFrameReader> MakeFullFrameReader(const FrameSource &source);

/// Keeps filled buffers in the event.
std::unique_ptr<IOutputQueue> MakeEventOutput(ILibrary &library);
/// Keeps filled buffers in the stream.
std::unique_ptr<IOutputQueue> MakeStreamOutput(ILibrary &library);

/// How the producers of this project differ in behaviour: the functions that make the parts behind the
/// interfaces. Profile has the values in which they differ.
///
/// Each producer has one, constant for the life of the process. Default-constructed, it is the assembly of
/// qvr_proxygentl.cti.
struct Assembly
{
    /// The description of the local System module; it has the registers of SystemFeatures.
    std::string_view (*systemDescription)() = nodemap::SystemDescription;
    std::shared_ptr<IProxySystem> (*makeProxySystem)(std::shared_ptr<IGenTLProxy>,
                                                     TL_HANDLE) = MakeDescribedSystem;
    RemoteSide (*makeRemoteSide)(const LowerDevice &) = MakeOverriddenRemoteSide;
    std::unique_ptr<IFrameReader> (*makeFrameReader)(const FrameSource &) = MakeBriefFrameReader;
    std::unique_ptr<IOutputQueue> (*makeOutputQueue)(ILibrary &) = MakeEventOutput;
};

} // namespace GenTL::internal
