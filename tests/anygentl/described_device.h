#pragma once

#include "any_producer.h"

#include "common/format_table.h"
#include "genapi/graph_features.h"
#include "genapi/node_graph.h"
#include "nodemap/description_location.h"
#include "support/description_fixture.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A device with any description below the producer, and a consumer that knows nothing but the exports.
namespace GenTL::internal::described
{

/// The text with one place of it replaced, which must be there.
inline std::string Replaced(std::string text, std::string_view from, std::string_view to)
{
    const auto place = text.find(from);
    if (place == std::string::npos)
    {
        throw std::runtime_error(fmt::format("no {}", from));
    }
    return text.replace(place, from.size(), to);
}

/// Registers behind two functions.
struct FunctionPort final : genapi::IRegisterPort
{
    std::function<void(uint64_t, void *, size_t)> read;
    std::function<void(uint64_t, const void *, size_t)> write;

    void Read(uint64_t address, void *data, size_t size) override { read(address, data, size); }
    void Write(uint64_t address, const void *data, size_t size) override { write(address, data, size); }
};

/// A description, read strictly, and the features in it.
struct DescribedFeatures
{
    DescribedFeatures(const std::string &text, genapi::IRegisterPort &port)
    {
        const auto result = tree.load_buffer(text.data(), text.size());
        if (!result)
        {
            throw std::runtime_error(fmt::format("{} at {}", result.description(), result.offset));
        }
        graph = std::make_unique<genapi::NodeGraph>(tree);
        features = std::make_unique<genapi::GraphFeatures>(*graph, port);
    }

    pugi::xml_document tree;
    std::unique_ptr<genapi::NodeGraph> graph;
    std::unique_ptr<genapi::GraphFeatures> features;
};

/// Addresses and the numbers there, of 4 big-endian bytes.
using Registers = std::vector<std::pair<uint64_t, uint32_t>>;

/// The camera behind the lower producer: its registers, read by its own description, and the frames that it
/// would send in the state that they describe.
class Camera
{
public:
    static constexpr uint32_t width = 16;
    static constexpr uint32_t height = 4;

    /// @param description in plain text; `stored` is what the device's memory holds of it
    Camera(lower::Producer &producer, const std::string &description, std::string stored,
           const Registers &registers)
        : m_producer(producer)
    {
        producer.remembersRegisters = true;
        producer.definesPayloadSize = false;
        producer.deviceXml = std::move(stored);
        m_port.read = [&producer](uint64_t address, void *data, size_t size)
        {
            const std::lock_guard guard(producer.mutex);
            for (size_t i = 0; i < size; ++i)
            {
                static_cast<uint8_t *>(data)[i] = producer.memory[address + i];
            }
        };
        m_port.write = [&producer](uint64_t address, const void *data, size_t size)
        {
            const std::lock_guard guard(producer.mutex);
            for (size_t i = 0; i < size; ++i)
            {
                producer.memory[address + i] = static_cast<const uint8_t *>(data)[i];
            }
        };
        m_features.emplace(description, m_port);
        for (const auto &[address, value] : registers)
        {
            Set(address, value);
        }
        for (const auto &[name, value] : {std::pair{"Width", width}, {"Height", height}})
        {
            if (Features().AccessOf(name).writable)
            {
                Features().WriteInteger(name, value);
            }
        }
    }

    /// The device's own features, as they are now.
    genapi::GraphFeatures &Features()
    {
        m_features->features->Invalidate();
        return *m_features->features;
    }

    /// Sets a big-endian register of 4 bytes.
    void Set(uint64_t address, uint32_t value)
    {
        for (unsigned int i = 0; i < 4; ++i)
        {
            m_producer.memory[address + i] = static_cast<uint8_t>(value >> (24U - 8U * i));
        }
    }

    uint32_t Get(uint64_t address)
    {
        uint32_t value = 0;
        for (unsigned int i = 0; i < 4; ++i)
        {
            value = value << 8U | m_producer.memory[address + i];
        }
        return value;
    }

    /// The format that the camera sends; null for an unknown one.
    const tarn::common::FormatInfo *Format()
    {
        auto &features = Features();
        return tarn::common::wideFormats.Resolve(
            features.ReadText("PixelFormat"),
            static_cast<tarn::common::PixelFormat>(features.ReadInteger("PixelFormat")));
    }

    /// Makes the lower producer report the camera's format for its frames, and returns a frame of it.
    lower::Frame Frame()
    {
        const auto *format = Format();
        // An unknown format is sent under its own code, with one byte for each pixel.
        const auto code = format != nullptr ? static_cast<uint64_t>(format->format)
                                            : static_cast<uint64_t>(Features().ReadInteger("PixelFormat"));
        lower::Frame frame;
        frame.bytes.resize(format != nullptr ? GetSizeInBytes(*format, {width, height}) : width * height);
        for (size_t i = 0; i < frame.bytes.size(); ++i)
        {
            frame.bytes[i] = static_cast<uint8_t>(17 * i + 3);
        }
        const std::lock_guard guard(m_producer.mutex);
        m_producer.pixelFormat = code;
        m_producer.width = width;
        m_producer.height = height;
        m_producer.payloadSize = frame.bytes.size();
        return frame;
    }

private:
    lower::Producer &m_producer;
    FunctionPort m_port;
    std::optional<DescribedFeatures> m_features;
};

/// A frame as the consumer gets it.
struct Delivered
{
    uint64_t format = 0;
    size_t width = 0;
    size_t height = 0;
    size_t size = 0;
    size_t announced = 0; ///< PayloadSize before
    bool isIncomplete = false;
    std::vector<uint8_t> bytes;
};

/// The producer over a camera, with the open vision library.
class AnyDevice : public testing::Test
{
protected:
    AnyDevice() : ctiPath("ANYGENTL_CTI_PATH", lower.Path()) {}
    ~AnyDevice() override { gentl.GCCloseLib(); }

    /// Puts a camera below and initialises the producer.
    void Connect(const std::string &description, std::optional<std::string> stored = std::nullopt,
                 const Registers &registers = {})
    {
        camera.emplace(*lower, description, std::move(stored).value_or(description), registers);
        ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << Error();
        ASSERT_EQ(gentl.TLOpen(&system), GC_ERR_SUCCESS) << Error();
        ASSERT_EQ(gentl.TLOpenInterface(system, "if0", &interface), GC_ERR_SUCCESS) << Error();
    }

    void Open(DEVICE_ACCESS_FLAGS access)
    {
        ASSERT_EQ(gentl.IFOpenDevice(interface, "cam0", access, &device), GC_ERR_SUCCESS) << Error();
        ASSERT_EQ(gentl.DevGetPort(device, &remote), GC_ERR_SUCCESS) << Error();
        port.read = [this](uint64_t address, void *data, size_t size)
        { Check(gentl.GCReadPort(remote, address, data, &size)); };
        port.write = [this](uint64_t address, const void *data, size_t size)
        { Check(gentl.GCWritePort(remote, address, data, &size)); };
        text = ReadDocument();
        consumer.emplace(text, port);
    }

    void Close()
    {
        EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(lower->OpenHandles(), 2U) << "system and interface";
    }

    /// The features as the consumer reads them now.
    genapi::GraphFeatures &Features()
    {
        consumer->features->Invalidate();
        return *consumer->features;
    }

    std::vector<std::string> Offered() { return genapi::AvailableEntriesOf(Features(), "PixelFormat"); }

    /// The code of writing a feature, GC_ERR_SUCCESS if it works.
    GC_ERROR CodeOfWriting(std::string_view feature, std::string_view value)
    {
        return ResultOf([&] { Features().WriteText(feature, value); });
    }

    /// Streams one frame of the camera.
    /// @param whileRunning called when the frame is there
    Delivered Stream(const std::function<void()> &whileRunning = [] {})
    {
        const auto frame = camera->Frame();
        DS_HANDLE stream = nullptr;
        Check(gentl.DevOpenDataStream(device, "Stream1", &stream));
        const auto size = static_cast<size_t>(Features().ReadInteger("PayloadSize"));
        BUFFER_HANDLE buffer = nullptr;
        Check(gentl.DSAllocAndAnnounceBuffer(stream, size, nullptr, &buffer));
        Check(gentl.DSQueueBuffer(stream, buffer));
        EVENT_HANDLE event = nullptr;
        Check(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event));
        Check(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
        lower->DeliverWhenReady(frame);
        EVENT_NEW_BUFFER_DATA data{};
        size_t dataSize = sizeof data;
        Check(gentl.EventGetData(event, &data, &dataSize, 60'000));
        auto delivered = Describe(stream, data.BufferHandle);
        delivered.announced = size;
        whileRunning();
        Check(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
        Check(gentl.GCUnregisterEvent(stream, EVENT_NEW_BUFFER));
        Check(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
        Check(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
        Check(gentl.DSClose(stream));
        return delivered;
    }

    std::string Url()
    {
        std::string url(1024, '\0');
        size_t size = url.size();
        Check(gentl.GCGetPortURL(remote, url.data(), &size));
        url.resize(size - 1);
        return url;
    }

    LastError Error()
    {
        LastError error;
        error.text.resize(4096);
        size_t size = error.text.size();
        error.result = gentl.GCGetLastError(&error.code, error.text.data(), &size);
        error.text.resize(size - 1);
        return error;
    }

    /// @throws GenTLException a call failed
    void Check(GC_ERROR code)
    {
        if (code != GC_ERR_SUCCESS)
        {
            throw GenTLException(Error().text, code);
        }
    }

    LowerLibrary lower;
    EnvironmentVariable ctiPath;
    const Exports &gentl = AnyGentl();
    std::optional<Camera> camera;
    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE remote = nullptr;
    FunctionPort port;
    std::string text; ///< the document as the consumer reads it
    std::optional<DescribedFeatures> consumer;

private:
    /// The document that the URL names, in one read.
    std::string ReadDocument()
    {
        const auto location = ParseLocation(Url());
        EXPECT_EQ(location.Scheme, UrlScheme::Local);
        std::string document(location.Size, '\0');
        size_t size = document.size();
        Check(gentl.GCReadPort(remote, location.Address, document.data(), &size));
        return document;
    }

    template <typename T>
    T Info(DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        T value{};
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        Check(gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size));
        return value;
    }

    Delivered Describe(DS_HANDLE stream, BUFFER_HANDLE buffer)
    {
        Delivered delivered;
        delivered.format = Info<uint64_t>(stream, buffer, BUFFER_INFO_PIXELFORMAT);
        delivered.width = Info<size_t>(stream, buffer, BUFFER_INFO_WIDTH);
        delivered.height = Info<size_t>(stream, buffer, BUFFER_INFO_HEIGHT);
        delivered.size = Info<size_t>(stream, buffer, BUFFER_INFO_SIZE_FILLED);
        delivered.isIncomplete = Info<bool8_t>(stream, buffer, BUFFER_INFO_IS_INCOMPLETE) != 0;
        const auto *base = static_cast<uint8_t *>(Info<void *>(stream, buffer, BUFFER_INFO_BASE));
        delivered.bytes.assign(base, base + delivered.size);
        return delivered;
    }
};

/// The open vision library, loaded before the producer looks for it.
inline const bool isVisionLoaded =
    dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW | RTLD_GLOBAL) != nullptr;

} // namespace GenTL::internal::described
