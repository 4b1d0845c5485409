#pragma once

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "gentlctl/frame_destination.h"
#include "gentlctl/grab_arguments.h"
#include "gentlctl/grab_report.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{

class Interrupt;
class Progress;

/// Grabs from several devices at the same time, each on a thread of its own.
class SideBySide
{
public:
    /// Opens and sets the devices.
    /// @param producer its file
    /// @param devices as for Producer::Choose; none for the first that can be opened
    /// @param arguments, destination outlive this object
    /// @throws std::runtime_error a device cannot be opened, or a feature set
    /// @throws GenTLException the producer cannot be initialised
    SideBySide(const std::string &producer, const std::vector<std::string> &devices,
               const GrabArguments &arguments, const FrameDestination &destination);

    /// What came from each device, in the order of the devices. A failure is in the report of its device, and
    /// the others go on; with several devices standard error tells of it at once.
    std::vector<DeviceGrab> Run(const Interrupt &interrupt);

private:
    struct Camera
    {
        Camera(Producer &producer, const std::string &selection);

        OpenDevice device;
        Features remote;
    };

    void Set(Camera &camera, bool isOneOfSeveral) const;
    DeviceGrab RunOne(size_t index, const Interrupt &interrupt, Progress &progress);
    void Tell(size_t index, const std::string &line, Progress &progress) const;

    const GrabArguments &m_arguments;
    const FrameDestination &m_destination;
    Producer m_producer;
    std::vector<std::unique_ptr<Camera>> m_cameras;
    std::vector<std::string> m_ids;
};

} // namespace gentlctl
