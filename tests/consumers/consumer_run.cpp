// Runs one consumer over one producer and prints what it concluded: consumer_run CONSUMER PRODUCER MODEL
// FRAMES STARTS
//
// A program of its own, because consumers load a producer in different ways, some never close it, and a
// process can initialise a producer once. Prints a line "key value" for each conclusion.

#include "consumers/escalating_consumer.h"
#include "consumers/plugin_consumer.h"
#include "consumers/polling_consumer.h"
#include "consumers/snapshot_consumer.h"
#include "support/sanitizer.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fmt/format.h>
#include <functional>
#include <set>

namespace
{

using namespace consumers;

constexpr int bindDeeply = hasSanitizer ? 0 : RTLD_DEEPBIND; // the sanitizers refuse it

/// A kind of consumer: how it loads a producer, and how it is made.
struct Kind
{
    std::string name;
    int flags;
    std::function<std::unique_ptr<Consumer>(const Producer &)> make;
};

template <typename T>
std::unique_ptr<Consumer> Make(const Producer &producer)
{
    return std::make_unique<T>(producer);
}

const Kind kinds[] = {
    {"polling", RTLD_NOW | RTLD_LOCAL, Make<PollingConsumer>},
    {"snapshot", RTLD_LAZY | RTLD_LOCAL, Make<SnapshotConsumer>},
    {"escalating", RTLD_NOW | bindDeeply, Make<EscalatingConsumer>},
    {"plugin", RTLD_LAZY | RTLD_GLOBAL, Make<PluginConsumer>},
};

/// What the frames have in common, as lines. Different answers make several lines of a key.
class Conclusions
{
public:
    void Add(const FrameConclusion &seen)
    {
        ++m_frames;
        m_images += seen.hasImage ? 1 : 0;
        m_lines.insert(fmt::format("size {}x{}", seen.width, seen.height));
        m_lines.insert(fmt::format("format 0x{:08X}", seen.pixelFormat));
        m_lines.insert(fmt::format("bytes {}", seen.bytes));
        m_lines.insert(fmt::format("parts {}", seen.parts));
        m_lines.insert(fmt::format("time {}", seen.time));
        m_lines.insert(fmt::format("chunks {}", seen.chunks));
    }

    void Print() const
    {
        fmt::print("frames {}\nimages {}\n", m_frames, m_images);
        for (const auto &line : m_lines)
        {
            fmt::print("{}\n", line);
        }
    }

private:
    size_t m_frames = 0;
    size_t m_images = 0;
    std::set<std::string> m_lines;
};

/// Calls `step`; prints its refusal after the key.
bool Try(const char *key, const std::function<void()> &step)
{
    try
    {
        step();
        return true;
    }
    catch (const Refusal &refusal)
    {
        fmt::print("{} {}\n", key, refusal.what());
        return false;
    }
}

struct Task
{
    std::string model;
    int frames;
    int starts;
    bool withChunks;
};

/// Small images, as fast as the consumer takes them.
void SetUp(const internal::DescribedNodes &camera, const Task &task)
{
    camera.Set("Width", 64);
    camera.Set("Height", 64);
    camera.SetFloat("AcquisitionFrameRate", 0.0F);
    if (task.withChunks)
    {
        camera.Set("ChunkModeActive", 1);
        camera.SetEntry("ChunkSelector", "FrameID");
        camera.Set("ChunkEnable", 1);
    }
}

void Run(Consumer &consumer, const Task &task)
{
    consumer.Open(task.model);
    SetUp(consumer.Remote(), task);
    Try("snapshot refused",
        [&]
        {
            const auto snapshot = consumer.TakeSnapshot();
            fmt::print("snapshot {}\n", !snapshot ? "none" : snapshot->hasImage ? "image" : "empty");
        });
    Conclusions conclusions;
    consumer.Start();
    for (int i = 0; i < task.frames; ++i)
    {
        conclusions.Add(consumer.TakeFrame());
    }
    consumer.Stop();
    conclusions.Print();
    for (int i = 0; i < task.starts; ++i)
    {
        consumer.Start();
        consumer.TakeFrame();
        consumer.Stop();
    }
    fmt::print("starts {}\n", task.starts);
    consumer.Close();
    fmt::print("closed\n");
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 6)
    {
        return EXIT_FAILURE;
    }
    const Task task = {argv[3], std::atoi(argv[4]), std::atoi(argv[5]), argc > 6};
    for (const auto &kind : kinds)
    {
        if (kind.name == argv[1])
        {
            Try("refused",
                [&]
                {
                    // Some consumers never close the library, so it must outlive them.
                    static const Producer producer(argv[2], kind.flags);
                    Run(*kind.make(producer), task);
                });
        }
    }
    return EXIT_SUCCESS;
}
