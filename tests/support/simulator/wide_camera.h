#pragma once

#include "support/byte_values.h"
#include "support/described_nodes.h"
#include "support/environment_variable.h"
#include "support/simulator/simulator.h"

namespace simulator_test
{

using internal::DescribedNodes;
using internal::NumberBytes;
using internal::NumberOf;

/// Opens a camera of the wide world and its stream. StartStream announces and queues four buffers.
class WideCameraTest : public CameraTest
{
protected:
    void SetUp() override { LibraryTest::SetUp(); }

    void Open(const std::string &interfaceId, const std::string &deviceId);

    /// The bytes that the port's URL names: the description, zipped or not, and what follows it.
    std::string DescriptionFile() const;

    /// Sends `count` frames, stops, and returns the content of the last.
    std::vector<uint8_t> Grab(size_t count = 1);

    /// Grabs a frame; calls `look` with the buffer before it is revoked.
    template <typename Look>
    void WithFrame(Look &&look)
    {
        StartStream();
        look(Receive().handle);
        StopStream();
    }

    void SetSize(int64_t width, int64_t height);
    void StartStream();
    void StopStream();

    const GenTL::internal::EnvironmentVariable m_wide{"QVR_SIM_WIDE", "1"};
    std::unique_ptr<DescribedNodes> m_nodes;
};

/// The text of the first entry of a zip archive, which other bytes may follow.
std::string UnzipLoosely(const std::string &bytes);

} // namespace simulator_test
