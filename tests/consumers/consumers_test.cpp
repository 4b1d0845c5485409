// The consumers of the field over each producer: they stream, take snapshots, stop and start again, and are
// refused nothing, except where the table says so.

#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace consumers
{
namespace
{

using Lines = std::set<std::string>;

enum class Library
{
    Proxy,     ///< qvr_proxygentl.cti over the simulator
    Simulator, ///< itself
    Any        ///< qvr_anygentl.cti over the simulator
};

std::string PathOf(Library library)
{
    switch (library)
    {
    case Library::Proxy:
        return QVR_LIB_DIR "/qvr_proxygentl.cti";
    case Library::Any:
        return QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
    case Library::Simulator:
        break;
    }
    return QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";
}

/// What a consumer finds with a producer and a camera, where it differs from an image in each frame.
struct Case
{
    const char *consumer;
    Library library;
    const char *model;
    const char *time = "ns";             ///< where the consumer's time stamps come from
    const char *chunks = "none";         ///< what it makes of a frame with two chunks
    size_t parts = 1;                    ///< of a frame; without one, the consumer sees no image
    const char *snapshot = "none";       ///< or "image"
    const char *snapshotFails = nullptr; ///< how the refusal begins
    const char *fails = nullptr;         ///< the same, of everything
};

constexpr const char *tooFewBuffers = "DSStartAcquisition -1013";
constexpr const char *noNanoseconds = "the stream ends at buffer info 28";
constexpr const char *rawChunks = "raw 1 2";

const Case cases[] = {
    // qvr_proxygentl.cti tells no time, counts no part of a plain image, and starts with two buffers at
    // least.
    {"polling", Library::Proxy, "OVRA-M1", "none", rawChunks},
    {"snapshot", Library::Proxy, "OVRA-M1", "host", "unread", 0, "none", tooFewBuffers},
    {"escalating", Library::Proxy, "OVRA-M1", "none", rawChunks},
    {.consumer = "plugin", .library = Library::Proxy, .model = "OVRA-M1", .fails = noNanoseconds},
    // The simulator starts with four buffers at least, and WIDE-G2 has ticks only.
    {"polling", Library::Simulator, "OVRA-M1", "ns", rawChunks},
    {"polling", Library::Simulator, "WIDE-G2", "ticks", rawChunks},
    {"polling", Library::Simulator, "WIDE-U1", "ns", rawChunks},
    {"snapshot", Library::Simulator, "OVRA-M1", "ns", "unread", 1, "none", tooFewBuffers},
    {"snapshot", Library::Simulator, "WIDE-G2", "host", "unread", 1, "none", tooFewBuffers},
    {"snapshot", Library::Simulator, "WIDE-U1", "ns", "unread", 1, "none", tooFewBuffers},
    {"escalating", Library::Simulator, "OVRA-M1", "ns", rawChunks},
    {"escalating", Library::Simulator, "WIDE-G2", "none", rawChunks},
    {"escalating", Library::Simulator, "WIDE-U1", "ns", rawChunks},
    {"plugin", Library::Simulator, "OVRA-M1"},
    {.consumer = "plugin", .library = Library::Simulator, .model = "WIDE-G2", .fails = noNanoseconds},
    {"plugin", Library::Simulator, "WIDE-U1"},
};

/// What each consumer has to find with qvr_anygentl.cti, whatever the camera.
struct Aim
{
    const char *consumer;
    const char *chunks;
    const char *snapshot;
};

constexpr Aim aims[] = {{"polling", rawChunks, "none"},
                        {"snapshot", "unread", "image"},
                        {"escalating", rawChunks, "none"},
                        {"plugin", "none", "none"}};

std::vector<Case> CasesOfAny()
{
    std::vector<Case> all;
    for (const auto &aim : aims)
    {
        for (const char *const model : {"OVRA-M1", "WIDE-G2", "WIDE-U1"})
        {
            all.push_back({aim.consumer, Library::Any, model, "ns", aim.chunks, 1, aim.snapshot});
        }
    }
    return all;
}

struct Run
{
    Lines lines;
    int status;
};

/// Runs the consumer; `arguments` are frames, starts and whether with chunks.
Run RunConsumer(const Case &tried, const std::string &arguments)
{
    const auto command =
        fmt::format("QVR_SIM_WIDE={} LD_LIBRARY_PATH={} {} {} {} {} {} 2>&1",
                    std::string_view(tried.model).starts_with("WIDE") ? 1 : 0, QVR_LIB_DIR, QVR_CONSUMER_RUN,
                    tried.consumer, PathOf(tried.library), tried.model, arguments);
    auto *const pipe = popen(command.c_str(), "r");
    Run run{};
    std::string text;
    for (int next = std::fgetc(pipe); next != EOF; next = std::fgetc(pipe))
    {
        if (next != '\n')
        {
            text += static_cast<char>(next);
            continue;
        }
        run.lines.insert(std::exchange(text, {}));
    }
    run.status = pclose(pipe);
    return run;
}

/// Replaces a line that begins with `key` and a refusal by the key and the beginning of the refusal.
Lines Shortened(Lines lines, const std::string &key, const char *refusal)
{
    const auto start = refusal == nullptr ? key : key + " " + refusal;
    for (const auto &line : Lines(lines))
    {
        if (refusal != nullptr && line.starts_with(start))
        {
            lines.erase(line);
            lines.insert(start);
        }
    }
    return lines;
}

Lines ExpectedOf(const Case &tried, int frames, int starts, size_t bytes, const std::string &chunks)
{
    Lines lines;
    if (tried.snapshotFails != nullptr)
    {
        lines.insert(fmt::format("snapshot refused {}", tried.snapshotFails));
    }
    else
    {
        lines.insert(fmt::format("snapshot {}", tried.snapshot));
    }
    if (tried.fails != nullptr)
    {
        lines.insert(fmt::format("refused {}", tried.fails));
        return lines;
    }
    lines.insert({fmt::format("frames {}", frames), fmt::format("images {}", tried.parts == 0 ? 0 : frames),
                  "size 64x64", "format 0x01080001", fmt::format("bytes {}", bytes),
                  fmt::format("parts {}", tried.parts), fmt::format("time {}", tried.time),
                  fmt::format("chunks {}", chunks), fmt::format("starts {}", starts), "closed"});
    return lines;
}

Lines Comparable(const Case &tried, const Run &run)
{
    return Shortened(Shortened(run.lines, "snapshot refused", tried.snapshotFails), "refused", tried.fails);
}

class Consumers : public testing::TestWithParam<Case>
{
};

TEST_P(Consumers, StreamAndStartAgainAndReadChunks)
{
    const auto &tried = GetParam();
    constexpr size_t imageBytes = 64 * 64;
    constexpr size_t chunkBytes = 8 + 8 + 8; // two trailers and the number of the frame
    constexpr int frames = hasSanitizer ? 100 : 1000;
    constexpr int starts = frames / 10;
    const auto plain = RunConsumer(tried, fmt::format("{} {}", frames, starts));
    const auto chunks = RunConsumer(tried, "10 0 chunks");
    EXPECT_EQ(0, plain.status);
    EXPECT_EQ(0, chunks.status);
    const auto expected = ExpectedOf(tried, frames, starts, imageBytes, "none");
    const auto expectedOfChunks = ExpectedOf(tried, 10, 0, imageBytes + chunkBytes, tried.chunks);
    EXPECT_EQ(expected, Comparable(tried, plain));
    EXPECT_EQ(expectedOfChunks, Comparable(tried, chunks));
}

std::string NameOf(const testing::TestParamInfo<Case> &tried)
{
    constexpr const char *libraries[] = {"Proxy", "Simulator", "Any"};
    return fmt::format("{}_{}_{}{}", tried.param.consumer, libraries[static_cast<int>(tried.param.library)],
                       std::string_view(tried.param.model).substr(0, 4),
                       std::string_view(tried.param.model).substr(5));
}

INSTANTIATE_TEST_SUITE_P(Field, Consumers, testing::ValuesIn(cases), NameOf);
INSTANTIATE_TEST_SUITE_P(FieldOverAny, Consumers, testing::ValuesIn(CasesOfAny()), NameOf);

} // namespace
} // namespace consumers
