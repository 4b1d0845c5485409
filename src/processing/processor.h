#pragma once

#include "processing/i_processor.h"
#include "processing/i_task.h"

#include <atomic>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace GenTL::internal
{

class CoordTask;

/// The processing of one device: the formats of each component, and the task that makes the output.
///
/// Made by Device and shared with its RemotePort, which configures it, and with the AcquisitionWorker, which
/// processes frames. Refuses formats and modes between AcquisitionStarted and AcquisitionStopped, so the
/// tables and the active task can be read without a lock.
class Processor final : public IProcessor
{
public:
    Processor();
    ~Processor() override;

    /// @throws GenTLException "Callbacks not set!"
    uint64_t PayloadSize() override;
    void SetAvailableInputFormats(Component component, const tarn::common::PixelFormat *formats,
                                  size_t count) override;
    /// @throws GenTLException "Output pixel format not set for component {}!"
    tarn::common::PixelFormat OutputPixelFormat(Component component) override;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_INVALID_VALUE for a format
    /// that no task can make
    tarn::common::PixelFormat SetOutputPixelFormat(Component component,
                                                   tarn::common::PixelFormat format) override;
    Scan3dOutputMode GetScan3dOutputMode() override;
    /// @throws GenTLException GC_ERR_ACCESS_DENIED while acquisition runs; GC_ERR_ERROR for a mode that
    /// cannot use the input format
    /// @throws std::out_of_range while Image3D has no input format
    void SetScan3dOutputMode(Scan3dOutputMode mode) override;
    std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) override;
    void SetScan3dInfo(const Scan3dInfo &info) override;
    /// @throws tarn::cvl::CorruptedException for invalid lens calibration data
    void SetLensCalibrationData(const std::vector<uint8_t> &bytes) override;
    void SetMetadata(const tarn::common::Metadata &metadata) override;
    std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component component) override;
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override;
    void SetPayloadSizeCallback(std::function<uint64_t()> callback) override;
    void SetImageSizeCallback(std::function<tarn::common::Size()> callback) override;
    void SetMetadataCallback(std::function<tarn::common::Metadata()> callback) override;
    void AcquisitionStarted() override;
    void AcquisitionStopped() override;

private:
    using PixelFormat = tarn::common::PixelFormat;

    const std::vector<PixelFormat> &GetAvailableInputFormats(Component component) const;
    void CheckNotRunning(const char *message) const;
    bool Is3dDevice() const;
    PixelFormat SetOutputPixelFormat3d(Component component, PixelFormat format,
                                       const std::vector<PixelFormat> &inputs);
    PixelFormat Activate(ITask &task, Component component, PixelFormat input, PixelFormat output);

    std::unordered_map<Component, PixelFormat> m_outputFormats; ///< what the consumer asked for
    std::unordered_map<Component, PixelFormat> m_inputFormats;  ///< what the device must send
    std::unordered_map<Component, std::vector<PixelFormat>> m_availableInputFormats;
    ITask *m_activeTask = nullptr;
    std::function<uint64_t()> m_payloadSize;
    std::function<tarn::common::Size()> m_imageSize;
    std::function<tarn::common::Metadata()> m_metadata;
    std::vector<std::unique_ptr<ITask>> m_tasks;
    CoordTask *m_coordTask = nullptr;   ///< the last element of the tasks
    std::atomic<bool> m_frozen = false; ///< between the start and the end of an acquisition
};

} // namespace GenTL::internal
