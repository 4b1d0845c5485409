// Buffers and frames: what a consumer learns of an image.

#include "check/acquisition.h"
#include "check/answers.h"
#include "check/info_rules.h"
#include "consumer/frame_info.h"

#include <fmt/format.h>

#include <array>
#include <vector>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr size_t enoughBuffers = 5;
constexpr int manyFrames = 4;

/// A frame in the consumer's hands, of an acquisition that runs.
class HeldFrame
{
public:
    HeldFrame(Bench &bench, StreamStep announce) : m_calls(bench.calls), m_acquisition(bench, enoughBuffers)
    {
        for (const auto step : {announce, StreamStep::Queue, StreamStep::Register, StreamStep::StartStream,
                                StreamStep::StartDevice})
        {
            if (const auto code = m_acquisition.Take(step); code != GC_ERR_SUCCESS)
            {
                throw NotReached(
                    fmt::format("{} {}", SteppedStream::NameOf(step), bench.trial.Failure(code)));
            }
        }
        Next();
    }
    HeldFrame(const HeldFrame &) = delete;
    HeldFrame &operator=(const HeldFrame &) = delete;
    ~HeldFrame() { m_calls.DSStopAcquisition(Stream(), ACQ_STOP_FLAGS_KILL); }

    /// Waits for the next frame. The buffer of the last one stays with the consumer.
    void Next()
    {
        const auto frame = m_acquisition.NextFrame();
        if (!frame)
        {
            throw NotReached("no frame within 5 s; does the camera wait for a trigger?");
        }
        m_frame = *frame;
    }

    BUFFER_HANDLE Buffer() const { return m_frame.BufferHandle; }
    void *UserPointer() const { return m_frame.pUserPointer; }
    const SteppedStream &Running() const { return m_acquisition.Running(); }
    DS_HANDLE Stream() const { return Running().Stream(); }

    RawQuery Query(BUFFER_INFO_CMD command)
    {
        return [this, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { return m_calls.DSGetBufferInfo(Stream(), Buffer(), command, type, buffer, size); };
    }

private:
    Calls &m_calls;
    Acquisition m_acquisition;
    EVENT_NEW_BUFFER_DATA m_frame{};
};

/// An info of a frame that a consumer does not do without.
struct NeededInfo
{
    BUFFER_INFO_CMD command;
    const char *name;
    Level level;
    const char *hurts;
    const char *cure;
};

constexpr std::array<NeededInfo, 10> neededInfos{{
    {BUFFER_INFO_BASE, "BUFFER_INFO_BASE", Level::Broken, "every consumer: it finds no pixels",
     "answer the address of the buffer's memory"},
    {BUFFER_INFO_SIZE, "BUFFER_INFO_SIZE", Level::Broken, "every consumer: it finds no pixels",
     "answer the size of the buffer's memory"},
    {BUFFER_INFO_PAYLOADTYPE, "BUFFER_INFO_PAYLOADTYPE", Level::Broken,
     "Harvesters drops each frame, gentlsrc ends the stream", "answer PAYLOAD_TYPE_IMAGE for an image"},
    {BUFFER_INFO_IS_INCOMPLETE, "BUFFER_INFO_IS_INCOMPLETE", Level::Broken,
     "Harvesters counts each frame as incomplete, gentlsrc ends the stream",
     "answer whether data are missing"},
    {BUFFER_INFO_SIZE_FILLED, "BUFFER_INFO_SIZE_FILLED", Level::WillHurt,
     "Aravis takes it for the size of the picture, which is empty then",
     "answer the bytes that were written"},
    {BUFFER_INFO_IMAGEPRESENT, "BUFFER_INFO_IMAGEPRESENT", Level::WillHurt, "rc_genicam_api finds no image",
     "answer true for a frame with an image"},
    {BUFFER_INFO_WIDTH, "BUFFER_INFO_WIDTH", Level::WillHurt, "Aravis and rc_genicam_api: the width is 0",
     "answer the width of the image"},
    {BUFFER_INFO_PIXELFORMAT, "BUFFER_INFO_PIXELFORMAT", Level::WillHurt,
     "Aravis and rc_genicam_api: the format is 0", "answer the pixel format of the image"},
    {BUFFER_INFO_FRAMEID, "BUFFER_INFO_FRAMEID", Level::WillHurt, "gentlsrc ends the stream",
     "count the frames of an acquisition"},
    {BUFFER_INFO_TIMESTAMP_NS, "BUFFER_INFO_TIMESTAMP_NS", Level::WillHurt,
     "gentlsrc ends the stream at its first frame; rc_genicam_api has no time",
     "answer the time of the frame in ns, if need be the time of its arrival"},
}};

void FramesTellWhatIsNeeded(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    for (const auto &needed : neededInfos)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        bench.trial.Must(fmt::format("DSGetBufferInfo({})", needed.name),
                         frame.Query(needed.command)(&type, nullptr, &size),
                         {needed.level, needed.hurts, needed.cure});
    }
}

void FrameInfosFollowTheRules(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    CheckInfoRules(bench.trial, BufferInfos("DSGetBufferInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return frame.Query(command)(type, buffer, size); });
}

void FrameInfosAreTrue(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    const auto size = AnswerOf<size_t>(frame.Query(BUFFER_INFO_SIZE)).value_or(0);
    const auto filled = AnswerOf<size_t>(frame.Query(BUFFER_INFO_SIZE_FILLED)).value_or(size);
    if (filled == 0 || filled > size)
    {
        bench.trial.Add("DSGetBufferInfo(BUFFER_INFO_SIZE_FILLED)",
                        fmt::format("tells {} bytes of a buffer of {}", filled, size),
                        {Level::Broken, "every consumer: the picture is empty, or it reads behind the buffer",
                         "answer the bytes that were written into the buffer"});
    }
    if (AnswerOf<void *>(frame.Query(BUFFER_INFO_BASE)).value_or(nullptr) == nullptr)
    {
        bench.trial.Add("DSGetBufferInfo(BUFFER_INFO_BASE)", "tells a null address",
                        {Level::Broken, "every consumer: it finds no pixels",
                         "answer the address of the buffer's memory"});
    }
    if (AnswerOf<bool8_t>(frame.Query(BUFFER_INFO_IS_INCOMPLETE)).value_or(0) != 0)
    {
        bench.trial.Add("DSGetBufferInfo(BUFFER_INFO_IS_INCOMPLETE)", "says that data are missing",
                        {Level::WillHurt, "every consumer: it drops the frame",
                         "look at the network: `gentlctl doctor` tells packet size and receive buffers"});
    }
    if (frame.UserPointer() != frame.Running().UserPointer())
    {
        bench.trial.Add("EventGetData(EVENT_NEW_BUFFER)", "gives another user pointer than the announced one",
                        {Level::Broken, "consumers that find their buffer by the pointer",
                         "give pPrivate of the announcement back in EVENT_NEW_BUFFER_DATA"});
    }
}

void FramesHaveSense(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    std::vector<uint64_t> numbers;
    std::vector<uint64_t> times;
    for (int i = 0; i < manyFrames; ++i)
    {
        numbers.push_back(AnswerOf<uint64_t>(frame.Query(BUFFER_INFO_FRAMEID)).value_or(numbers.size()));
        times.push_back(AnswerOf<uint64_t>(frame.Query(BUFFER_INFO_TIMESTAMP)).value_or(times.size()));
        if (i + 1 < manyFrames)
        {
            frame.Next();
        }
    }
    const auto mustGrow = [&](const char *name, const std::vector<uint64_t> &values)
    {
        if (!std::is_sorted(values.begin(), values.end(), std::less_equal<>()))
        {
            bench.trial.Add(fmt::format("DSGetBufferInfo({})", name), "does not grow from frame to frame",
                            {Level::WillHurt, "consumers that count lost frames or measure the rate",
                             "give each frame a larger value than the one before"});
        }
    };
    mustGrow("BUFFER_INFO_FRAMEID", numbers);
    mustGrow("BUFFER_INFO_TIMESTAMP", times);
}

void PartsAreCounted(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    uint32_t count = 0;
    const auto code = bench.calls.DSGetNumBufferParts(frame.Stream(), frame.Buffer(), &count);
    if (code == GC_ERR_SUCCESS && count == 0)
    {
        bench.trial.Add("DSGetNumBufferParts", "succeeds with 0 parts for a frame with an image",
                        {Level::WillHurt, "Aravis asks for each frame, and takes it for one without image",
                         "count an image as one part, or fail with GC_ERR_NOT_IMPLEMENTED"});
    }
    if (code != GC_ERR_SUCCESS || count == 0)
    {
        return;
    }
    CheckInfoRules(bench.trial, BufferPartInfos("DSGetBufferPartInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size) {
                       return bench.calls.DSGetBufferPartInfo(frame.Stream(), frame.Buffer(), 0, command,
                                                              type, buffer, size);
                   });
    size_t size = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    bench.trial.MustFail(
        "DSGetBufferPartInfo beyond the last part",
        bench.calls.DSGetBufferPartInfo(frame.Stream(), frame.Buffer(), count, BUFFER_PART_INFO_BASE, &type,
                                        nullptr, &size),
        {GC_ERR_INVALID_INDEX, GC_ERR_INVALID_PARAMETER},
        {Level::Broken, "consumers read memory that is no part", "return GC_ERR_INVALID_INDEX"});
}

void ChunksLieInTheBuffer(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    size_t count = 0;
    if (bench.calls.DSGetBufferChunkData(frame.Stream(), frame.Buffer(), nullptr, &count) != GC_ERR_SUCCESS)
    {
        return; // A frame without chunks answers with an error.
    }
    std::vector<SINGLE_CHUNK_DATA> chunks(count);
    const Verdict verdict{Level::Broken, "consumers read chunks behind the buffer",
                          "give offset and length of each chunk within the delivered bytes"};
    bench.trial.Must("DSGetBufferChunkData",
                     bench.calls.DSGetBufferChunkData(frame.Stream(), frame.Buffer(), chunks.data(), &count),
                     verdict);
    const auto size = AnswerOf<size_t>(frame.Query(BUFFER_INFO_SIZE)).value_or(0);
    for (const auto &chunk : chunks)
    {
        if (!LiesWithin(chunk, size))
        {
            bench.trial.Add("DSGetBufferChunkData",
                            fmt::format("places chunk {:#x} outside of the buffer", uint64_t{chunk.ChunkID}),
                            verdict);
        }
    }
}

void StackedInfosAgree(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::Allocate);
    size_t width = 0;
    size_t payloadType = 0;
    std::array<DS_BUFFER_INFO_STACKED, 2> infos{
        {{BUFFER_INFO_WIDTH, INFO_DATATYPE_UNKNOWN, &width, sizeof width, GC_ERR_SUCCESS},
         {BUFFER_INFO_PAYLOADTYPE, INFO_DATATYPE_UNKNOWN, &payloadType, sizeof payloadType, GC_ERR_SUCCESS}}};
    const auto code =
        bench.calls.DSGetBufferInfoStacked(frame.Stream(), frame.Buffer(), infos.data(), infos.size());
    const bool isEqual = width == AnswerOf<size_t>(frame.Query(BUFFER_INFO_WIDTH)).value_or(0) &&
                         payloadType == AnswerOf<size_t>(frame.Query(BUFFER_INFO_PAYLOADTYPE)).value_or(0);
    if (code == GC_ERR_SUCCESS && !isEqual)
    {
        bench.trial.Add("DSGetBufferInfoStacked", "answers something else than DSGetBufferInfo",
                        {Level::Broken, "consumers of GenTL 1.6", "answer both from one place"});
    }
}

void OwnMemoryIsUsed(Bench &bench)
{
    HeldFrame frame(bench, StreamStep::AnnounceOwn);
    auto *const base = AnswerOf<void *>(frame.Query(BUFFER_INFO_BASE)).value_or(nullptr);
    bool isOwn = false;
    for (const auto &memory : frame.Running().OwnMemory())
    {
        isOwn = isOwn || memory.data() == base;
    }
    if (!isOwn)
    {
        bench.trial.Add("DSGetBufferInfo(BUFFER_INFO_BASE)", "is not the memory that was announced",
                        {Level::WillHurt, "Aravis copies each frame; Harvesters looks into its own memory",
                         "fill the memory that DSAnnounceBuffer was given"});
    }
}

void OneBufferIsEnough(Bench &bench)
{
    Acquisition acquisition(bench, 1);
    for (const auto step : {StreamStep::AnnounceOwn, StreamStep::Queue, StreamStep::Register})
    {
        acquisition.Take(step);
    }
    const auto code = acquisition.Take(StreamStep::StartStream);
    if (bench.trial.Must("DSStartAcquisition with one buffer", code,
                         {Level::WillHurt, "Aravis takes a snapshot with one announced buffer",
                          "start with one buffer; tell in STREAM_INFO_BUF_ANNOUNCE_MIN what runs well"}))
    {
        acquisition.Take(StreamStep::KillStream);
    }
}

} // namespace

ChecksOf FrameChecks()
{
    return {
        {"frame", "a frame tells what consumers need", FramesTellWhatIsNeeded},
        {"frame", "DSGetBufferInfo answers every command by the rules", FrameInfosFollowTheRules},
        {"frame", "size, address and user pointer are true", FrameInfosAreTrue},
        {"frame", "numbers and times grow", FramesHaveSense},
        {"frame", "DSGetNumBufferParts counts the image, and DSGetBufferPartInfo answers by the rules",
         PartsAreCounted},
        {"frame", "DSGetBufferChunkData places chunks in the buffer", ChunksLieInTheBuffer},
        {"frame", "DSGetBufferInfoStacked agrees with DSGetBufferInfo", StackedInfosAgree},
        {"frame", "DSAnnounceBuffer: the consumer's memory is used", OwnMemoryIsUsed},
        {"stream", "DSStartAcquisition: one buffer is enough", OneBufferIsEnough},
    };
}

} // namespace gentlctl
