/**
 * @file
 * Frames of a GenTL camera in C++. Copy this file and gentl/gentl.h into your program, and link dl, pugixml
 * and zip.
 *
 *     Camera camera;
 *     camera.Start();
 *     for (int i = 0; i < 10; ++i)
 *     {
 *         const Frame frame = camera.Next();
 *         Use(frame.Pixels<uint8_t>());
 *     }
 */
#pragma once

#include <dlfcn.h>
#include <gentl/gentl.h>
#include <pugixml.hpp>
#include <zip.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

/// The first .cti file of a folder, by name, or the file itself; empty when there is none.
inline std::string FirstProducerIn(const std::string &folderOrFile)
{
    std::vector<std::string> files;
    std::error_code failure; // what cannot be read holds no file
    if (!std::filesystem::is_directory(folderOrFile, failure))
    {
        files.push_back(folderOrFile);
    }
    for (const auto &file : std::filesystem::directory_iterator(folderOrFile, failure))
    {
        files.push_back(file.path());
    }
    std::erase_if(files, [](const std::string &file) { return !file.ends_with(".cti"); });
    return files.empty() ? "" : *std::min_element(files.begin(), files.end());
}

/// The first .cti file of GENICAM_GENTL64_PATH, whose entries are folders or files.
inline std::string FindProducer()
{
    const char *variable = std::getenv("GENICAM_GENTL64_PATH");
    std::istringstream entries(variable ? variable : "");
    for (std::string entry; std::getline(entries, entry, ':');)
    {
        if (const auto file = FirstProducerIn(entry); !file.empty())
        {
            return file;
        }
    }
    throw std::runtime_error("GENICAM_GENTL64_PATH names no folder with a .cti file; set it to your "
                             "producer's folder");
}

/// A loaded producer. Every failure of a call is thrown with the producer's own text.
class Producer
{
public:
    explicit Producer(const std::string &path) : m_path(path), m_library(dlopen(path.c_str(), RTLD_NOW))
    {
        if (!m_library)
        {
            throw std::runtime_error(dlerror());
        }
        Call<decltype(&GenTL::GCInitLib)>("GCInitLib");
    }

    ~Producer() { Function<decltype(&GenTL::GCCloseLib)>("GCCloseLib")(); }
    Producer(const Producer &) = delete;
    Producer &operator=(const Producer &) = delete;

    template <typename F, typename... Arguments>
    void Call(const char *name, Arguments... arguments) const
    {
        if (Function<F>(name)(arguments...) != GenTL::GC_ERR_SUCCESS)
        {
            GenTL::GC_ERROR code = 0;
            char text[4096] = "";
            size_t size = sizeof text;
            Function<decltype(&GenTL::GCGetLastError)>("GCGetLastError")(&code, text, &size);
            throw std::runtime_error(m_path + ": " + name + ": " + text);
        }
    }

private:
    template <typename F>
    F Function(const char *name) const
    {
        const auto function = reinterpret_cast<F>(dlsym(m_library, name));
        return function ? function : throw std::runtime_error(m_path + " lacks " + name);
    }

    std::string m_path;
    void *m_library; ///< stays loaded: some producers do not survive dlclose
};

/// Calls a function of the producer with the types of its declaration.
#define GENTL_CALL(producer, name, ...) (producer).Call<decltype(&GenTL::name)>(#name, __VA_ARGS__)

/// Features of a camera that are plain registers. Those behind formulas need a GenApi library, or gentlctl.
class Features
{
public:
    Features(const Producer &producer, GenTL::PORT_HANDLE port) : m_producer(&producer), m_port(port)
    {
        const std::string text = Unpacked(Document());
        if (!m_document.load_buffer(text.data(), text.size()))
        {
            throw std::runtime_error("The camera's description is no XML");
        }
    }

    void Execute(const char *name) const
    {
        const auto node = Node(name);
        Write(node, Integer(node, "CommandValue"));
    }

    /// Of a feature that is a whole number.
    uint64_t GetInteger(const char *name) const { return ReadInteger(Node(name)); }

    /// The value as the register has it: a double for a Float, a whole number otherwise.
    template <typename T>
    requires std::is_arithmetic_v<T>
    void Set(const char *name, T value) const { Write(Node(name), value); }

    /// An enumeration, by the name of its entry.
    void Set(const char *name, const char *entry) const
    {
        const auto node = Node(name);
        const auto found = node.find_child_by_attribute("EnumEntry", "Name", entry);
        if (!found)
        {
            throw std::runtime_error(std::string(name) + " has no entry " + entry);
        }
        Write(node, Integer(found, "Value"));
    }

private:
    std::string Read(uint64_t address, size_t size) const
    {
        std::string data(size, '\0');
        GENTL_CALL(*m_producer, GCReadPort, m_port, address, data.data(), &size);
        return data;
    }

    /// "local:name;address;length" in hexadecimal, or "file:///path".
    std::string Document() const
    {
        char url[4096] = "";
        size_t size = sizeof url;
        GENTL_CALL(*m_producer, GCGetPortURL, m_port, url, &size);
        const std::string text = url;
        const auto first = text.find(';');
        if (first != std::string::npos)
        {
            const auto second = text.find(';', first + 1);
            return Read(std::stoull(text.substr(first + 1), nullptr, 16),
                        std::stoull(text.substr(second + 1), nullptr, 16));
        }
        std::ifstream file(text.substr(text.find('/'), text.find('?') - text.find('/')), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static std::string Unpacked(const std::string &document)
    {
        if (!document.starts_with("PK"))
        {
            return document.substr(0, document.find_last_not_of('\0') + 1);
        }
        zip_source_t *source = zip_source_buffer_create(document.data(), document.size(), 0, nullptr);
        zip_t *archive = source ? zip_open_from_source(source, ZIP_RDONLY, nullptr) : nullptr;
        if (!archive)
        {
            zip_source_free(source);
            throw std::runtime_error("The archive of the camera's description cannot be read");
        }
        const std::string text = FirstEntry(archive);
        zip_discard(archive);
        return !text.empty()
                   ? text
                   : throw std::runtime_error("The archive of the camera's description cannot be read");
    }

    /// The content of the first file; empty when it cannot be read.
    static std::string FirstEntry(zip_t *archive)
    {
        zip_stat_t entry{};
        zip_file_t *file =
            zip_stat_index(archive, 0, 0, &entry) == 0 ? zip_fopen_index(archive, 0, 0) : nullptr;
        if (!file)
        {
            return {};
        }
        std::string text(entry.size, '\0');
        const bool isRead =
            zip_fread(file, text.data(), text.size()) == static_cast<zip_int64_t>(text.size());
        zip_fclose(file);
        return isRead ? text : std::string();
    }

    pugi::xml_node Node(const char *name) const
    {
        const auto wanted = [name](const pugi::xml_node &node)
        {
            return std::strcmp(node.attribute("Name").value(), name) == 0 &&
                   std::strcmp(node.name(), "EnumEntry") != 0;
        };
        const auto node = m_document.find_node(wanted);
        return node ? node : throw std::runtime_error(std::string("The camera has no feature ") + name);
    }

    /// Whether a node is what the register behind it is.
    static bool IsPlain(const pugi::xml_node &node)
    {
        static const std::vector<std::string> kinds{"Integer", "Float", "Boolean", "Enumeration", "Command"};
        return std::find(kinds.begin(), kinds.end(), node.name()) != kinds.end();
    }

    pugi::xml_node Register(pugi::xml_node node) const
    {
        const std::string name = node.attribute("Name").value();
        while (IsPlain(node) && node.child("pValue"))
        {
            node = Node(node.child_value("pValue"));
        }
        const std::string kind = node.name();
        return kind == "IntReg" || kind == "FloatReg"
                   ? node
                   : throw std::runtime_error(name +
                                              " is no plain register; use a GenApi library, or gentlctl set");
    }

    /// The sum of the literals <what> and of the nodes that <pWhat> names: an address has several.
    uint64_t Integer(const pugi::xml_node &node, const std::string &what) const
    {
        uint64_t sum = 0;
        for (const auto &literal : node.children(what.c_str()))
        {
            sum += std::stoull(literal.child_value(), nullptr, 0);
        }
        for (const auto &name : node.children(("p" + what).c_str()))
        {
            sum += ReadInteger(Node(name.child_value()));
        }
        return sum;
    }

    uint64_t ReadInteger(const pugi::xml_node &node) const
    {
        if (node.child("Value"))
        {
            return Integer(node, "Value");
        }
        const auto place = Register(node);
        std::string data = Read(Integer(place, "Address"), Integer(place, "Length"));
        Order(place, data);
        uint64_t value = 0;
        std::memcpy(&value, data.data(), std::min(data.size(), sizeof value));
        return value;
    }

    template <typename T>
    void Write(const pugi::xml_node &node, T value) const
    {
        const auto place = Register(node);
        size_t size = Integer(place, "Length");
        std::string data;
        if (std::strcmp(place.name(), "FloatReg") == 0)
        {
            const auto number = static_cast<double>(value);
            const auto shortNumber = static_cast<float>(value);
            data = size == sizeof number ? Bytes(number) : Bytes(shortNumber);
        }
        else
        {
            data = Bytes(static_cast<int64_t>(value)).substr(0, size);
        }
        Order(place, data);
        size = data.size();
        GENTL_CALL(*m_producer, GCWritePort, m_port, Integer(place, "Address"), data.data(), &size);
    }

    template <typename T>
    static std::string Bytes(T value)
    {
        return {reinterpret_cast<const char *>(&value), sizeof value};
    }

    static void Order(const pugi::xml_node &place, std::string &data)
    {
        if (std::strcmp(place.child_value("Endianess"), "BigEndian") == 0)
        {
            std::reverse(data.begin(), data.end());
        }
    }

    const Producer *m_producer;
    GenTL::PORT_HANDLE m_port;
    pugi::xml_document m_document;
};

/// A frame. Its pixels lie in the buffer, which goes back to the camera when the frame ends.
class Frame
{
public:
    Frame(const Producer &producer, GenTL::DS_HANDLE stream, GenTL::BUFFER_HANDLE buffer)
        : m_producer(producer), m_stream(stream), m_buffer(buffer)
    {
    }

    ~Frame()
    {
        try
        {
            GENTL_CALL(m_producer, DSQueueBuffer, m_stream, m_buffer);
        }
        catch (const std::exception &) // The next wait for a frame tells that one is missing.
        {
        }
    }
    Frame(const Frame &) = delete;
    Frame &operator=(const Frame &) = delete;

    uint64_t Id() const { return Info<uint64_t>(GenTL::BUFFER_INFO_FRAMEID); }
    size_t Width() const { return Info<size_t>(GenTL::BUFFER_INFO_WIDTH); }
    size_t Height() const { return Info<size_t>(GenTL::BUFFER_INFO_HEIGHT); }
    uint64_t Format() const { return Info<uint64_t>(GenTL::BUFFER_INFO_PIXELFORMAT); }
    bool IsIncomplete() const { return Info<GenTL::bool8_t>(GenTL::BUFFER_INFO_IS_INCOMPLETE) != 0; }

    /// Width * Height pixels, without a copy; std::array<float, 3> for a grid of points. Throws when a pixel
    /// of this format has another size, as those of all packed formats have.
    template <typename Pixel>
    std::span<const Pixel> Pixels() const
    {
        const auto bits = Format() >> 16 & 0xFF;
        if (bits != sizeof(Pixel) * 8)
        {
            throw std::runtime_error("The pixels of this frame have " + std::to_string(bits) +
                                     " bits, and not the " + std::to_string(sizeof(Pixel) * 8) +
                                     " of the type asked for: set PixelFormat, or take another type");
        }
        const auto *image = Info<const uint8_t *>(GenTL::BUFFER_INFO_BASE) + Offset();
        return {reinterpret_cast<const Pixel *>(image), Width() * Height()};
    }

private:
    /// Where the image begins in the buffer; at its start when the producer does not tell.
    size_t Offset() const
    {
        try
        {
            return Info<size_t>(GenTL::BUFFER_INFO_IMAGEOFFSET);
        }
        catch (const std::exception &)
        {
            return 0;
        }
    }

    template <typename T>
    T Info(GenTL::BUFFER_INFO_CMD command) const
    {
        T answer{};
        size_t size = sizeof answer;
        GenTL::INFO_DATATYPE type = 0;
        GENTL_CALL(m_producer, DSGetBufferInfo, m_stream, m_buffer, command, &type, &answer, &size);
        return answer;
    }

    const Producer &m_producer;
    GenTL::DS_HANDLE m_stream;
    GenTL::BUFFER_HANDLE m_buffer;
};

/// An open camera: the first that can be opened, or the one of this id or model.
class Camera
{
public:
    explicit Camera(const std::string &wanted = {}, const std::string &producer = FindProducer())
        : m_producer(producer)
    {
        GENTL_CALL(m_producer, TLOpen, &m_system);
        m_closing.push_back([this] { GENTL_CALL(m_producer, TLClose, m_system); });
        try
        {
            Open(wanted);
        }
        catch (...)
        {
            CloseAllBut(0);
            throw;
        }
    }

    ~Camera() { CloseAllBut(0); }
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    const Features &GetFeatures() const { return *m_features; }

    /// Starts the camera. It stops when this object ends. Set PixelFormat, region and mode before.
    void Start(int buffers = 4)
    {
        const size_t size = PayloadSize();
        GENTL_CALL(m_producer, GCRegisterEvent, m_stream, GenTL::EVENT_NEW_BUFFER, &m_event);
        m_closing.push_back(
            [this] { GENTL_CALL(m_producer, GCUnregisterEvent, m_stream, GenTL::EVENT_NEW_BUFFER); });
        for (int i = 0; i < buffers; ++i)
        {
            Announce(size);
        }
        m_closing.push_back(
            [this] { GENTL_CALL(m_producer, DSFlushQueue, m_stream, GenTL::ACQ_QUEUE_ALL_DISCARD); });
        GENTL_CALL(m_producer, DSStartAcquisition, m_stream, GenTL::ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
        m_closing.push_back(
            [this] { GENTL_CALL(m_producer, DSStopAcquisition, m_stream, GenTL::ACQ_STOP_FLAGS_DEFAULT); });
        m_features->Execute("AcquisitionStart");
        m_closing.push_back([this] { m_features->Execute("AcquisitionStop"); });
    }

    /// Waits for the next frame.
    Frame Next(uint64_t timeoutMs = 5000) const
    {
        GenTL::EVENT_NEW_BUFFER_DATA filled{};
        size_t size = sizeof filled;
        GENTL_CALL(m_producer, EventGetData, m_event, &filled, &size, timeoutMs);
        return {m_producer, m_stream, filled.BufferHandle};
    }

private:
    using Id = char[1024];

    /// Bytes of a frame. A producer need not know them; then the camera does.
    size_t PayloadSize() const
    {
        return DefinesPayloadSize() ? Info<size_t>(GenTL::STREAM_INFO_PAYLOAD_SIZE)
                                    : m_features->GetInteger("PayloadSize");
    }

    /// A producer that does not understand the question is asked for the size itself.
    bool DefinesPayloadSize() const
    {
        try
        {
            return Info<GenTL::bool8_t>(GenTL::STREAM_INFO_DEFINES_PAYLOADSIZE) != 0;
        }
        catch (const std::exception &)
        {
            return true;
        }
    }

    template <typename T>
    T Info(GenTL::STREAM_INFO_CMD command) const
    {
        T answer{};
        size_t size = sizeof answer;
        GenTL::INFO_DATATYPE type = 0;
        GENTL_CALL(m_producer, DSGetInfo, m_stream, command, &type, &answer, &size);
        return answer;
    }

    void Open(const std::string &wanted)
    {
        std::string reasons;
        std::string known;
        uint32_t count = 0;
        GENTL_CALL(m_producer, TLUpdateInterfaceList, m_system, nullptr, uint64_t{1000});
        GENTL_CALL(m_producer, TLGetNumInterfaces, m_system, &count);
        for (uint32_t i = 0; i < count; ++i)
        {
            Id id = "";
            size_t size = sizeof id;
            GenTL::IF_HANDLE interface = nullptr;
            GENTL_CALL(m_producer, TLGetInterfaceID, m_system, i, id, &size);
            GENTL_CALL(m_producer, TLOpenInterface, m_system, id, &interface);
            m_closing.push_back([this, interface] { GENTL_CALL(m_producer, IFClose, interface); });
            if (OpenOn(interface, wanted, reasons, known))
            {
                return;
            }
            CloseAllBut(1);
        }
        throw std::runtime_error(!reasons.empty() ? reasons
                                                  : "No camera " + wanted + " found; there is " +
                                                        (known.empty() ? "none" : known));
    }

    bool OpenOn(GenTL::IF_HANDLE interface, const std::string &wanted, std::string &reasons,
                std::string &known)
    {
        uint32_t count = 0;
        GENTL_CALL(m_producer, IFUpdateDeviceList, interface, nullptr, uint64_t{1000});
        GENTL_CALL(m_producer, IFGetNumDevices, interface, &count);
        for (uint32_t i = 0; i < count; ++i)
        {
            Id id = "";
            size_t size = sizeof id;
            GENTL_CALL(m_producer, IFGetDeviceID, interface, i, id, &size);
            const auto model = wanted.empty() ? std::string() : Model(interface, id);
            known += (known.empty() ? "" : ", ") + std::string(id) + " (" + model + ")";
            if (!wanted.empty() && wanted != id && wanted != model)
            {
                continue;
            }
            try
            {
                OpenDevice(interface, id);
                return true;
            }
            catch (const std::exception &error)
            {
                CloseAllBut(2);
                reasons += std::string(error.what()) + "\n";
            }
        }
        return false;
    }

    std::string Model(GenTL::IF_HANDLE interface, const char *id) const
    {
        Id model = "";
        size_t size = sizeof model;
        GenTL::INFO_DATATYPE type = 0;
        GENTL_CALL(m_producer, IFGetDeviceInfo, interface, id, GenTL::DEVICE_INFO_MODEL, &type, model, &size);
        return model;
    }

    void OpenDevice(GenTL::IF_HANDLE interface, const char *id)
    {
        GenTL::DEV_HANDLE device = nullptr;
        GENTL_CALL(m_producer, IFOpenDevice, interface, id, GenTL::DEVICE_ACCESS_CONTROL, &device);
        m_closing.push_back([this, device] { GENTL_CALL(m_producer, DevClose, device); });
        GenTL::PORT_HANDLE port = nullptr;
        GENTL_CALL(m_producer, DevGetPort, device, &port);
        m_features = std::make_unique<Features>(m_producer, port);
        Id stream = "";
        size_t size = sizeof stream;
        GENTL_CALL(m_producer, DevGetDataStreamID, device, 0U, stream, &size);
        GENTL_CALL(m_producer, DevOpenDataStream, device, stream, &m_stream);
        m_closing.push_back([this] { GENTL_CALL(m_producer, DSClose, m_stream); });
    }

    void Announce(size_t size)
    {
        GenTL::BUFFER_HANDLE buffer = nullptr;
        GENTL_CALL(m_producer, DSAllocAndAnnounceBuffer, m_stream, size, nullptr, &buffer);
        m_closing.push_back([this, buffer]
                            { GENTL_CALL(m_producer, DSRevokeBuffer, m_stream, buffer, nullptr, nullptr); });
        GENTL_CALL(m_producer, DSQueueBuffer, m_stream, buffer);
    }

    /// Closes in the opposite order what was opened. A camera that is gone lets nothing be closed in order.
    void CloseAllBut(size_t number)
    {
        while (m_closing.size() > number)
        {
            try
            {
                m_closing.back()();
            }
            catch (const std::exception &)
            {
            }
            m_closing.pop_back();
        }
    }

    Producer m_producer;
    GenTL::TL_HANDLE m_system = nullptr;
    GenTL::DS_HANDLE m_stream = nullptr;
    GenTL::EVENT_HANDLE m_event = nullptr;
    std::unique_ptr<Features> m_features;
    std::vector<std::function<void()>> m_closing;
};
