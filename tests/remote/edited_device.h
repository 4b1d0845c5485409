#pragma once

#include "edited_fixture.h"

#include "genapi/graph_features.h"
#include "remote/device_registers.h"
#include "remote/edited_view.h"
#include "support/registers_only_port.h"
#include "utils/gentl_exception.h"

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A device with an edited description, and a consumer that reads it through the view.
namespace GenTL::internal::edited
{

/// A device's port: every byte exists. A byte that nobody wrote depends on its address and the pattern.
struct EndlessPort final : RegistersOnlyPort
{
    struct Access
    {
        uint64_t address;
        size_t size;

        friend bool operator==(const Access &, const Access &) = default;
    };

    uint64_t pattern = 0; ///< 0: unwritten bytes are 0
    std::map<uint64_t, uint8_t> bytes;
    std::set<uint64_t> broken; ///< addresses where accesses fail
    std::vector<Access> reads;
    std::vector<Access> writes;

    /// Sets a register of 4 bytes, in big-endian.
    void Set(uint64_t address, uint32_t value)
    {
        for (unsigned int i = 0; i < 4; ++i)
        {
            bytes[address + i] = static_cast<uint8_t>(value >> (24U - 8U * i));
        }
    }

    uint32_t Get(uint64_t address)
    {
        uint32_t value = 0;
        for (unsigned int i = 0; i < 4; ++i)
        {
            value = value << 8U | At(address + i);
        }
        return value;
    }

    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        reads.push_back({address, *size});
        Check(address);
        for (size_t i = 0; i < *size; ++i)
        {
            static_cast<uint8_t *>(buffer)[i] = At(address + i);
        }
    }

    void WriteRegisters(uint64_t address, const void *buffer, size_t *size) override
    {
        writes.push_back({address, *size});
        Check(address);
        for (size_t i = 0; i < *size; ++i)
        {
            bytes[address + i] = static_cast<const uint8_t *>(buffer)[i];
        }
    }

private:
    uint8_t At(uint64_t address) const
    {
        const auto written = bytes.find(address);
        return written != bytes.end()
                   ? written->second
                   : static_cast<uint8_t>((address + 1) * pattern * 0x9E3779B97F4A7C15U >> 56U);
    }

    void Check(uint64_t address) const
    {
        if (broken.contains(address))
        {
            throw GenTLException("no answer", GC_ERR_IO);
        }
    }
};

/// Remembers conversions, and adds what they take to the device's payload size.
struct FakeDelivery final : IDelivery
{
    std::map<std::pair<Component, PixelFormat>, PixelFormat> conversions;
    std::function<DeviceState()> device;
    bool isRunning = false;
    bool offersDepth = true;
    Scan3dOutputMode mode = Scan3dOutputMode::UncalibratedC;

    void SetConversion(Component component, PixelFormat input, PixelFormat output) override
    {
        conversions[{component, input}] = output;
    }

    PixelFormat OutputOf(Component component, PixelFormat input) const override
    {
        const auto made = TraitsOf(mode).makes;
        if (component == Component::Image3D && made)
        {
            return *made;
        }
        const auto found = conversions.find({component, input});
        return found != conversions.end() ? found->second : input;
    }

    uint64_t PayloadSize() override
    {
        const auto state = device();
        uint64_t added = 0;
        uint64_t images = 0;
        for (const auto &image : state.images)
        {
            const auto &output =
                *tarn::common::wideFormats.Find(OutputOf(image.component, image.format->format));
            images += GetSizeInBytes(*image.format, image.size);
            added += GetSizeInBytes(output, image.size) - GetSizeInBytes(*image.format, image.size);
        }
        return state.payloadSize.value_or(images) + added;
    }

    bool IsRunning() const override { return isRunning; }
    Scan3dOutputMode OutputMode() const override { return mode; }
    void SetOutputMode(Scan3dOutputMode wanted) override { mode = wanted; }
    bool OffersDepth() const override { return offersDepth; }
    std::shared_ptr<const std::vector<uint8_t>> Lens() const override { return nullptr; }

    std::pair<double, double> AxisRange(Scan3dCoordinate coordinate) const override
    {
        const auto number = static_cast<double>(coordinate);
        return {-1.5 - number, 100.25 + number};
    }
};

/// What the consumer's reader reads and writes.
struct ConsumerPort final : genapi::IRegisterPort
{
    explicit ConsumerPort(EditedView &port) : view(port) {}

    void Read(uint64_t address, void *data, size_t size) override { view.ReadPort(address, data, &size); }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        view.WritePort(address, data, &size);
    }

    EditedView &view;
};

struct EditedDevice
{
    explicit EditedDevice(const std::string &document,
                          const ConversionTable &conversions = UsualConversions())
        : edit(document, conversions)
    {
        delivery.device = [this] { return view.ReadDeviceState(streamPayloadSize); };
    }

    /// The names of entries that are implemented and available.
    static std::vector<std::string> AvailableIn(genapi::GraphFeatures &features, std::string_view name)
    {
        std::vector<std::string> available;
        for (const auto &entry : features.EntriesOf(name))
        {
            if (entry.implemented && entry.available)
            {
                available.emplace_back(entry.name);
            }
        }
        return available;
    }

    Edit edit;
    EndlessPort port;
    DeviceRegisters registers{port};
    genapi::GraphFeatures device{*edit.device.graph, registers};
    FakeDelivery delivery;
    std::optional<uint64_t> streamPayloadSize;
    EditedView view{
        edit.result, edit.device.tree.document_element(), "Cam.xml", *edit.device.graph, device, delivery,
        port};
    ConsumerPort consumerPort{view};
    genapi::GraphFeatures consumer{*edit.consumer.graph, consumerPort};
};

} // namespace GenTL::internal::edited
