#pragma once

#include "processing/i_processor.h"
#include "support/call_log.h"

#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// A processor that a test scripts: onProcess = [...]{...}; without it a frame is passed on as described,
/// with no bytes written.
class FakeProcessor : public IProcessor
{
public:
    explicit FakeProcessor(std::shared_ptr<CallLog> log = std::make_shared<CallLog>()) : calls(std::move(log))
    {
    }

    std::shared_ptr<CallLog> calls;
    uint64_t payloadSize = 0;
    std::function<void()> onAcquisitionStarted;
    std::function<ProcessingResult(const InputData &, std::span<uint8_t>)> onProcess;

    std::vector<InputData> Inputs() const
    {
        const std::lock_guard guard(m_lock);
        return m_inputs;
    }

    uint64_t PayloadSize() override { return payloadSize; }
    void SetAvailableInputFormats(Component, const tarn::common::PixelFormat *, size_t) override {}
    tarn::common::PixelFormat OutputPixelFormat(Component) override { return {}; }
    tarn::common::PixelFormat SetOutputPixelFormat(Component, tarn::common::PixelFormat format) override
    {
        return format;
    }
    Scan3dOutputMode GetScan3dOutputMode() override { return {}; }
    void SetScan3dOutputMode(Scan3dOutputMode) override {}
    std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate) override { return {}; }
    void SetScan3dInfo(const Scan3dInfo &) override {}
    void SetLensCalibrationData(const std::vector<uint8_t> &) override {}
    void SetMetadata(const tarn::common::Metadata &) override {}
    std::vector<tarn::common::PixelFormat> AvailableOutputPixelFormats(Component) override { return {}; }
    ProcessingResult Process(const InputData &input, std::span<uint8_t> output) override
    {
        {
            const std::lock_guard guard(m_lock);
            m_inputs.push_back(input);
        }
        calls->Add("Process");
        if (onProcess)
        {
            return onProcess(input, output);
        }
        ProcessingResult result;
        result.attributes = input.attributes;
        return result;
    }
    void SetPayloadSizeCallback(std::function<uint64_t()>) override {}
    void SetImageSizeCallback(std::function<tarn::common::Size()>) override {}
    void SetMetadataCallback(std::function<tarn::common::Metadata()>) override {}
    void AcquisitionStarted() override
    {
        calls->Add("AcquisitionStarted");
        if (onAcquisitionStarted)
        {
            onAcquisitionStarted();
        }
    }
    void AcquisitionStopped() override { calls->Add("AcquisitionStopped"); }

private:
    mutable std::mutex m_lock;
    std::vector<InputData> m_inputs;
};

} // namespace GenTL::internal
