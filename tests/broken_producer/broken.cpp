// A producer that does what the simulator does, but for one defect, which the variable BROKEN_DEFECT names.

#include <gentl/gentl.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace GenTL
{
namespace
{

/// The simulator's functions.
struct Functions
{
#define FN(group, name, parameters, arguments) decltype(&::GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN
};

const Functions &Simulator()
{
    static const Functions functions = []
    {
        void *const library = dlopen(QVR_SIMULATOR, RTLD_NOW | RTLD_LOCAL);
        Functions found;
#define FN(group, name, parameters, arguments)                                                               \
    found.name = reinterpret_cast<decltype(found.name)>(dlsym(library, #name));
#include <gentl/functions.inc>
#undef FN
        return found;
    }();
    return functions;
}

/// A producer without defect. A defect overrides functions.
class Sound
{
public:
    Sound() = default;
    Sound(const Sound &) = delete;
    Sound &operator=(const Sound &) = delete;
    virtual ~Sound() = default;

#define FN(group, name, parameters, arguments)                                                               \
    virtual GC_ERROR name parameters                                                                         \
    {                                                                                                        \
        return Simulator().name arguments;                                                                   \
    }
#include <gentl/functions.inc>
#undef FN
};

GC_ERROR AnswerNumber(INFO_DATATYPE type, uint64_t value, INFO_DATATYPE *piType, void *pBuffer,
                      size_t *piSize)
{
    if (pBuffer != nullptr && *piSize < sizeof value)
    {
        return GC_ERR_BUFFER_TOO_SMALL;
    }
    if (pBuffer != nullptr)
    {
        std::memcpy(pBuffer, &value, sizeof value);
    }
    *piType = type;
    *piSize = sizeof value;
    return GC_ERR_SUCCESS;
}

// Each defect in the order of the table below.

struct VersionTwo : Sound
{
    GC_ERROR GCGetInfo(TL_INFO_CMD command, INFO_DATATYPE *type, void *buffer, size_t *size) override
    {
        const auto code = Sound::GCGetInfo(command, type, buffer, size);
        if (command == TL_INFO_GENTL_VER_MAJOR && buffer != nullptr && code == GC_ERR_SUCCESS)
        {
            *static_cast<uint32_t *>(buffer) = 2;
        }
        return code;
    }
};

struct InitialisesTwice : Sound
{
    GC_ERROR GCInitLib() override
    {
        const auto code = Sound::GCInitLib();
        return code == GC_ERR_RESOURCE_IN_USE ? GC_ERR_SUCCESS : code;
    }
};

struct StartsOnce : Sound
{
    GC_ERROR GCInitLib() override { return m_wasClosed ? GC_ERR_ERROR : Sound::GCInitLib(); }
    GC_ERROR GCCloseLib() override
    {
        m_wasClosed = true;
        return Sound::GCCloseLib();
    }

private:
    bool m_wasClosed = false;
};

struct SaysNothing : Sound
{
    GC_ERROR GCGetLastError(GC_ERROR *code, char *, size_t *size) override
    {
        *code = GC_ERR_ERROR;
        *size = 0;
        return GC_ERR_SUCCESS;
    }
};

struct NeedsFlag : Sound
{
    GC_ERROR IFUpdateDeviceList(IF_HANDLE interface, bool8_t *changed, uint64_t limit) override
    {
        return changed == nullptr ? GC_ERR_INVALID_PARAMETER
                                  : Sound::IFUpdateDeviceList(interface, changed, limit);
    }
};

struct NeedsTime : Sound
{
    GC_ERROR TLUpdateInterfaceList(TL_HANDLE system, bool8_t *changed, uint64_t limit) override
    {
        return limit < 50 ? GC_ERR_TIMEOUT : Sound::TLUpdateInterfaceList(system, changed, limit);
    }
};

struct WritesBehind : Sound
{
    GC_ERROR TLGetInfo(TL_HANDLE system, TL_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                       size_t *size) override
    {
        std::array<char, 256> answer{};
        size_t needed = answer.size();
        const auto code = Sound::TLGetInfo(system, command, type, answer.data(), &needed);
        if (code == GC_ERR_SUCCESS && buffer != nullptr)
        {
            std::memcpy(buffer, answer.data(), needed);
        }
        *size = needed;
        return code;
    }
};

struct WrongType : Sound
{
    GC_ERROR IFGetInfo(IF_HANDLE interface, INTERFACE_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                       size_t *size) override
    {
        const auto code = Sound::IFGetInfo(interface, command, type, buffer, size);
        *type = INFO_DATATYPE_STRINGLIST;
        return code;
    }
};

struct NoSerialNumber : Sound
{
    GC_ERROR IFGetDeviceInfo(IF_HANDLE interface, const char *id, DEVICE_INFO_CMD command,
                             INFO_DATATYPE *type, void *buffer, size_t *size) override
    {
        return command == DEVICE_INFO_SERIAL_NUMBER
                   ? GC_ERR_NOT_AVAILABLE
                   : Sound::IFGetDeviceInfo(interface, id, command, type, buffer, size);
    }
};

struct ShortReads : Sound
{
    GC_ERROR GCReadPort(PORT_HANDLE port, uint64_t address, void *buffer, size_t *size) override
    {
        return *size > 512 ? GC_ERR_INVALID_PARAMETER : Sound::GCReadPort(port, address, buffer, size);
    }
};

struct NoUrl : Sound
{
    GC_ERROR GCGetNumPortURLs(PORT_HANDLE port, uint32_t *count) override
    {
        const auto code = Sound::GCGetNumPortURLs(port, count);
        *count = 0;
        return code;
    }
};

struct NoTime : Sound
{
    GC_ERROR DSGetBufferInfo(DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command,
                             INFO_DATATYPE *type, void *out, size_t *size) override
    {
        return command == BUFFER_INFO_TIMESTAMP_NS
                   ? GC_ERR_NOT_IMPLEMENTED
                   : Sound::DSGetBufferInfo(stream, buffer, command, type, out, size);
    }
};

/// No defect: GenTL lets a producer leave the payload size to the camera.
struct LeavesPayloadSize : Sound
{
    GC_ERROR DSGetInfo(DS_HANDLE stream, STREAM_INFO_CMD command, INFO_DATATYPE *type, void *out,
                       size_t *size) override
    {
        const bool isAsked =
            command == STREAM_INFO_DEFINES_PAYLOADSIZE || command == STREAM_INFO_PAYLOAD_SIZE;
        const auto result = Sound::DSGetInfo(stream, command, type, out, size);
        if (isAsked && out != nullptr)
        {
            std::memset(out, 0, *size);
        }
        return result;
    }
};

struct TooMuchFilled : Sound
{
    GC_ERROR DSGetBufferInfo(DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command,
                             INFO_DATATYPE *type, void *out, size_t *size) override
    {
        return command == BUFFER_INFO_SIZE_FILLED
                   ? AnswerNumber(INFO_DATATYPE_SIZET, uint64_t{1} << 40U, type, out, size)
                   : Sound::DSGetBufferInfo(stream, buffer, command, type, out, size);
    }
};

struct NoParts : Sound
{
    GC_ERROR DSGetNumBufferParts(DS_HANDLE, BUFFER_HANDLE, uint32_t *count) override
    {
        *count = 0;
        return GC_ERR_SUCCESS;
    }
};

struct LosesUserPointer : Sound
{
    GC_ERROR EventGetData(EVENT_HANDLE event, void *buffer, size_t *size, uint64_t limit) override
    {
        const auto code = Sound::EventGetData(event, buffer, size, limit);
        if (code == GC_ERR_SUCCESS)
        {
            static_cast<EVENT_NEW_BUFFER_DATA *>(buffer)->pUserPointer = nullptr;
        }
        return code;
    }
};

struct WaitsOn : Sound
{
    GC_ERROR EventKill(EVENT_HANDLE event) override
    {
        // Of a wrong handle it knows as much as the simulator.
        size_t size = 0;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        return Sound::EventGetInfo(event, EVENT_EVENT_TYPE, &type, nullptr, &size);
    }
};

struct KeepsBuffers : Sound
{
    GC_ERROR DSRevokeBuffer(DS_HANDLE, BUFFER_HANDLE, void **, void **) override { return GC_ERR_BUSY; }
};

struct StreamsOnce : Sound
{
    GC_ERROR DSStartAcquisition(DS_HANDLE stream, ACQ_START_FLAGS flags, uint64_t count) override
    {
        const auto code =
            stream == m_started ? GC_ERR_RESOURCE_IN_USE : Sound::DSStartAcquisition(stream, flags, count);
        m_started = code == GC_ERR_SUCCESS ? stream : m_started;
        return code;
    }

private:
    DS_HANDLE m_started = nullptr;
};

struct KeepsDevice : Sound
{
    GC_ERROR DevOpenDataStream(DEV_HANDLE device, const char *id, DS_HANDLE *stream) override
    {
        const auto code = Sound::DevOpenDataStream(device, id, stream);
        m_openStreams += code == GC_ERR_SUCCESS ? 1 : 0;
        return code;
    }
    GC_ERROR DSClose(DS_HANDLE stream) override
    {
        const auto code = Sound::DSClose(stream);
        m_openStreams -= code == GC_ERR_SUCCESS ? 1 : 0;
        return code;
    }
    GC_ERROR DevClose(DEV_HANDLE device) override
    {
        return m_openStreams != 0 ? GC_ERR_BUSY : Sound::DevClose(device);
    }

private:
    int m_openStreams = 0;
};

struct KeepsWaiting : Sound
{
    GC_ERROR EventKill(EVENT_HANDLE) override { return GC_ERR_ERROR; }
};

struct EndlessChunk : Sound
{
    GC_ERROR DSGetBufferChunkData(DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA *chunks, size_t *count) override
    {
        if (chunks != nullptr)
        {
            *chunks = {.ChunkID = 1, .ChunkOffset = 8, .ChunkLength = SIZE_MAX};
        }
        *count = 1;
        return GC_ERR_SUCCESS;
    }
};

struct CountlessChunks : Sound
{
    GC_ERROR DSGetBufferChunkData(DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA *, size_t *count) override
    {
        *count = SIZE_MAX;
        return GC_ERR_SUCCESS;
    }
};

struct CrashesOnNull : Sound
{
    GC_ERROR TLGetNumInterfaces(TL_HANDLE system, uint32_t *count) override
    {
        if (system == nullptr)
        {
            std::raise(SIGKILL);
        }
        return Sound::TLGetNumInterfaces(system, count);
    }
};

struct Hangs : Sound
{
    GC_ERROR IFGetParentTL(IF_HANDLE, TL_HANDLE *) override
    {
        for (;;)
        {
            pause();
        }
    }
};

struct DiesAtExit : Sound
{
    GC_ERROR IFOpenDevice(IF_HANDLE interface, const char *id, DEVICE_ACCESS_FLAGS access,
                          DEV_HANDLE *device) override
    {
        std::atexit([] { std::raise(SIGKILL); });
        return Sound::IFOpenDevice(interface, id, access, device);
    }
};

struct DiesAtUnloading : Sound
{
    GC_ERROR GCInitLib() override
    {
        // A library's handlers run when it is unloaded.
        std::atexit([] { std::raise(SIGKILL); });
        return Sound::GCInitLib();
    }
};

struct DiesAtStart : Sound
{
    GC_ERROR GCInitLib() override { _exit(3); }
};

struct Leaks : Sound
{
    GC_ERROR IFOpenDevice(IF_HANDLE interface, const char *id, DEVICE_ACCESS_FLAGS access,
                          DEV_HANDLE *device) override
    {
        // 1 MiB of small blocks.
        for (int i = 0; i < 1024; ++i)
        {
            static_cast<void>(std::make_unique<std::string>(size_t{1024}, 'x').release());
        }
        return Sound::IFOpenDevice(interface, id, access, device);
    }
};

struct Defect
{
    std::string_view name;
    std::unique_ptr<Sound> (*make)();
};

template <typename Producer>
std::unique_ptr<Sound> Make()
{
    return std::make_unique<Producer>();
}

constexpr std::array defects{
    Defect{"version two", Make<VersionTwo>},
    Defect{"initialises twice", Make<InitialisesTwice>},
    Defect{"starts once", Make<StartsOnce>},
    Defect{"says nothing", Make<SaysNothing>},
    Defect{"needs flag", Make<NeedsFlag>},
    Defect{"needs time", Make<NeedsTime>},
    Defect{"writes behind", Make<WritesBehind>},
    Defect{"wrong type", Make<WrongType>},
    Defect{"no serial number", Make<NoSerialNumber>},
    Defect{"short reads", Make<ShortReads>},
    Defect{"no url", Make<NoUrl>},
    Defect{"no time", Make<NoTime>},
    Defect{"leaves payload size", Make<LeavesPayloadSize>},
    Defect{"too much filled", Make<TooMuchFilled>},
    Defect{"no parts", Make<NoParts>},
    Defect{"loses user pointer", Make<LosesUserPointer>},
    Defect{"waits on", Make<WaitsOn>},
    Defect{"keeps buffers", Make<KeepsBuffers>},
    Defect{"streams once", Make<StreamsOnce>},
    Defect{"keeps device", Make<KeepsDevice>},
    Defect{"keeps waiting", Make<KeepsWaiting>},
    Defect{"endless chunk", Make<EndlessChunk>},
    Defect{"countless chunks", Make<CountlessChunks>},
    Defect{"crashes on null", Make<CrashesOnNull>},
    Defect{"hangs", Make<Hangs>},
    Defect{"dies at exit", Make<DiesAtExit>},
    Defect{"dies at unloading", Make<DiesAtUnloading>},
    Defect{"dies at start", Make<DiesAtStart>},
    Defect{"leaks", Make<Leaks>},
};

Sound &Current()
{
    static const std::unique_ptr<Sound> producer = []
    {
        const char *const name = std::getenv("BROKEN_DEFECT");
        const auto *const defect =
            std::ranges::find(defects, std::string_view(name != nullptr ? name : ""), &Defect::name);
        return defect != defects.end() ? defect->make() : std::make_unique<Sound>();
    }();
    return *producer;
}

} // namespace

extern "C"
{

#define FN(group, name, parameters, arguments)                                                               \
    GC_API GC_ERROR name parameters                                                                          \
    {                                                                                                        \
        return Current().name arguments;                                                                     \
    }
#include <gentl/functions.inc>
#undef FN

    /// Looks like DSRevokeBuffer.
    GC_API GC_ERROR DSRevokeBufer(DS_HANDLE stream, BUFFER_HANDLE buffer, void **memory, void **own)
    {
        return Current().DSRevokeBuffer(stream, buffer, memory, own);
    }

} // extern "C"
} // namespace GenTL
