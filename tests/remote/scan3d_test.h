#pragma once

#include "override_test.h"
#include "support/fake_file_device.h"

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::overrides
{

/// A register of a float.
inline std::string Float(const std::string &name, uint64_t address, const Layout &layout = {})
{
    return fmt::format(
        "<Float Name=\"{0}\"><pValue>{0}Reg</pValue></Float>"
        "<FloatReg Name=\"{0}Reg\">{1}<Address>0x{2:X}</Address><Length>{3}</Length>"
        "<AccessMode>{4}</AccessMode><pPort>Device</pPort><Endianess>{5}</Endianess></FloatReg>",
        name, layout.conditions, address, layout.length, layout.access, layout.order);
}

/// A value that a remote port tells of the image's geometry.
template <typename T>
T ValueOf(const tarn::common::Metadata &metadata, const std::string &name)
{
    const auto *value = metadata.Find(name);
    return value != nullptr ? value->Cast<T>() : throw std::runtime_error("no value named " + name);
}

/// Notes what a remote port tells of 3D, and answers what a test scripts.
class Scan3dProcessor final : public FakeProcessor
{
public:
    std::optional<Scan3dInfo> info;
    std::vector<uint8_t> calibration;
    std::optional<tarn::common::Metadata> metadata;
    std::function<tarn::common::Metadata()> metadataCallback;
    std::function<void()> onCalibration = [] {};

    void SetScan3dInfo(const Scan3dInfo &told) override
    {
        calls->Add("SetScan3dInfo");
        info = told;
    }
    void SetLensCalibrationData(const std::vector<uint8_t> &bytes) override
    {
        calls->Add("SetLensCalibrationData");
        calibration = bytes;
        onCalibration();
    }
    void SetMetadata(const tarn::common::Metadata &told) override
    {
        calls->Add("SetMetadata");
        metadata = told;
    }
    void SetMetadataCallback(std::function<tarn::common::Metadata()> callback) override
    {
        calls->Add("SetMetadataCallback");
        metadataCallback = std::move(callback);
    }

    Scan3dOutputMode mode = Scan3dOutputMode::CalibratedABC_Grid;
    std::function<void(Scan3dOutputMode)> onSetMode = [](Scan3dOutputMode) {};
    std::pair<double, double> range{-1.0005, 2.0005};
    std::vector<Scan3dCoordinate> askedRanges;
    PixelFormat output = PixelFormat::Mono8;

    Scan3dOutputMode GetScan3dOutputMode() override { return mode; }
    void SetScan3dOutputMode(Scan3dOutputMode wanted) override
    {
        calls->Add("SetScan3dOutputMode " + ToString(wanted));
        onSetMode(wanted);
        mode = wanted;
    }
    std::pair<double, double> GetScan3dAxisMinMax(Scan3dCoordinate coordinate) override
    {
        askedRanges.push_back(coordinate);
        return range;
    }
    void SetAvailableInputFormats(Component component, const PixelFormat *, size_t) override
    {
        calls->Add(fmt::format("inputs of {}", component));
    }
    PixelFormat OutputPixelFormat(Component component) override
    {
        calls->Add(fmt::format("output of {}?", component));
        return output;
    }
    PixelFormat SetOutputPixelFormat(Component component, PixelFormat format) override
    {
        calls->Add(fmt::format("output of {} is {:X}", component, static_cast<int64_t>(format)));
        return format;
    }
};

/// A device with 3D features, which a test puts together before it opens the port.
class Scan3dTest : public OverrideTest
{
protected:
    static constexpr uint64_t scaleAddress = 0x140;
    static constexpr uint64_t axisMaxAddress = 0x148;
    static constexpr uint64_t axisMinAddress = 0x150;
    static constexpr uint64_t offsetAddress = 0x158;
    static constexpr uint64_t invalidValueAddress = 0x160;
    static constexpr uint64_t invalidFlagAddress = 0x168;
    static constexpr uint64_t modeAddress = 0x170;
    static constexpr uint64_t coordinateAddress = 0x178;
    static constexpr uint64_t userSetLoadAddress = 0x180;

    /// Opens the port over another processor than the fake.
    void OpenOver(std::shared_ptr<IProcessor> other)
    {
        device.description = Description();
        device.url = fmt::format("local:///Device.xml;10000;{:X}", device.description.size());
        port = std::make_unique<RemotePort>(proxy, LowerHandle(0x907), std::move(other));
    }

    FakeFileDevice files;
    std::shared_ptr<Scan3dProcessor> scan3d = std::make_shared<Scan3dProcessor>();

    Scan3dTest()
    {
        proxy->onGCReadPort = [this, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address,
                                                                 void *buffer, size_t *size) -> GC_ERROR
        {
            if (!FakeFileDevice::Has(address))
            {
                return read(handle, address, buffer, size);
            }
            files.Read(address, buffer, size);
            return GC_ERR_SUCCESS;
        };
        proxy->onGCWritePort = [this, write = proxy->onGCWritePort](PORT_HANDLE handle, uint64_t address,
                                                                    const void *buffer,
                                                                    size_t *size) -> GC_ERROR
        {
            if (!FakeFileDevice::Has(address))
            {
                return write(handle, address, buffer, size);
            }
            files.Write(address, buffer, size);
            return GC_ERR_SUCCESS;
        };
    }

    void Open()
    {
        device.description = Description();
        device.url = fmt::format("local:///Device.xml;10000;{:X}", device.description.size());
        port = std::make_unique<RemotePort>(proxy, LowerHandle(0x907), scan3d);
    }

    Failure OpenFailure()
    {
        return FailureOf([&] { Open(); });
    }

    template <typename T>
    void SetValue(uint64_t address, T value)
    {
        SetRegisters(address, BytesOf(value));
    }

    void UseModes(const std::string &entries = Entry("UncalibratedC", 10) + Entry("CalibratedC", 15) +
                                               Entry("CalibratedABC_Grid", 11),
                  const Layout &layout = {})
    {
        extra += Enumeration("Scan3dOutputMode", modeAddress, layout, entries);
    }

    /// A feature behind a formula over the register "<name>Raw".
    void UseConverter(const std::string &name, const std::string &formula, uint64_t address,
                      const std::string &children = "", const Layout &layout = {})
    {
        extra += fmt::format("<Float Name=\"{0}\"><pValue>{0}Conv</pValue></Float>"
                             "<Converter Name=\"{0}Conv\">{2}<FormulaTo>FROM</FormulaTo>"
                             "<FormulaFrom>{1}</FormulaFrom><pValue>{0}RawReg</pValue></Converter>",
                             name, formula, children) +
                 Register(name + "RawReg", address, layout);
    }

    static std::string Constant(const std::string &name, const std::string &value)
    {
        return "<Constant Name=\"" + name + "\">" + value + "</Constant>";
    }
    static std::string Variable(const std::string &name, const std::string &node)
    {
        return "<pVariable Name=\"" + name + "\">" + node + "</pVariable>";
    }
};

} // namespace GenTL::internal::overrides
