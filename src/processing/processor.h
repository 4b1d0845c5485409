#pragma once

#include "processing/i_processor.h"
#include "processing/i_task.h"

#include <atomic>
#include <memory>
#include <unordered_map>
#include <vector>

namespace GenTL::internal
{

/// The processing step of one device: the formats per component and the task that makes the output.
///
/// Made by Device and shared with its RemotePort, which configures it, and with the AcquisitionWorker, which
/// has it process frames. Between AcquisitionStarted and AcquisitionStopped formats and mode are refused, so
/// that the tables and the active task may be read without a lock.
class Processor final : public IProcessor
{
public:
    Processor();

    /// @throws GenTLException "Callbacks not set!"
    uint64_t PayloadSize() override;
    void SetAvailableInputFormats(Component component, const tarn::common::PixelFormat *formats,
                                  size_t count) override;
    /// @throws GenTLException "Output pixel format not set for component {}!"
    tarn::common::PixelFormat OutputPixelFormat(Component component) override;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_INVALID_VALUE for a format
    /// that no task makes
    tarn::common::PixelFormat SetOutputPixelFormat(Component component,
                                                   tarn::common::PixelFormat format) override;
    std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component component) override;
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    void SetPayloadSizeCallback(std::function<uint64_t()> callback) override;
    void SetImageSizeCallback(std::function<tarn::common::Size()> callback) override;
    void AcquisitionStarted() override;
    void AcquisitionStopped() override;

private:
    using PixelFormat = tarn::common::PixelFormat;

    const std::vector<PixelFormat> &GetAvailableInputFormats(Component component) const;
    void CheckNotRunning(const char *message) const;

    std::unordered_map<Component, PixelFormat> m_outputFormats; ///< what the consumer asked for
    std::unordered_map<Component, PixelFormat> m_inputFormats;  ///< what the device must send
    std::unordered_map<Component, std::vector<PixelFormat>> m_availableInputFormats;
    ITask *m_activeTask = nullptr;
    std::function<uint64_t()> m_payloadSize;
    std::function<tarn::common::Size()> m_imageSize;
    std::vector<std::unique_ptr<ITask>> m_tasks;
    std::atomic<bool> m_running = false;
};

} // namespace GenTL::internal
