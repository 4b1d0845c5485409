// Recordings: whatever one of their files holds, they are refused with a message or read to their end, and
// the registers of a recorded camera can be used. The first byte says which file the others are. Tries an
// index as it is and with correct checksums.

#include "fuzz/try.h"
#include "recording/device_file.h"
#include "recording/error.h"
#include "recording/frame_bytes.h"
#include "recording/recording_reader.h"
#include "recording/recording_writer.h"
#include "require.h"
#include "simulator/error.h"
#include "simulator/recordings/recorded_registers.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

namespace fs = std::filesystem;

fs::path MakeFolder()
{
    std::string name = (fs::temp_directory_path() / "fuzz-recording-XXXXXX").string();
    Require(mkdtemp(name.data()) != nullptr);
    return name;
}

recording::DeviceRecord MakeDevice()
{
    recording::DeviceRecord device;
    device.description = "<xml>";
    device.descriptionAddress = 64;
    device.registers.memory = {{0, "memory"}};
    device.registers.selections = {{{{0, "m"}}, {{2, "mo"}}}, {{{0, "M"}}, {{2, "MO"}}}};
    device.registers.commands = {{{"FileOperationExecute", 8, 1, false}, 1}};
    return device;
}

/// Makes a recording with two frames and, to be completed, its end.
void Write(const fs::path &folder)
{
    recording::RecordingWriter writer(folder, MakeDevice());
    const std::vector<uint8_t> pixels(16, 'p');
    writer.Append({1, {{1, 0, 2, "x"}}, {{3, {{2, -1, 0, "no"}}}}, {{1, 2, 3}}}, pixels);
    writer.Append({2, {}, {}, {}}, pixels);
    writer.Finish(0, 0);
}

/// The index with correct checksums, as far as its entries can be found.
std::string Sealed(std::string index)
{
    size_t offset = sizeof(recording::IndexHeader);
    recording::EntryHeader header;
    while (offset <= index.size() && index.size() - offset >= sizeof header)
    {
        std::memcpy(&header, index.data() + offset, sizeof header);
        const auto start = offset + sizeof header;
        if (header.length > index.size() - start)
        {
            break;
        }
        header.checksum = recording::Checksum(std::string_view(index).substr(start, header.length));
        std::memcpy(index.data() + offset, &header, sizeof header);
        offset = start + header.length;
    }
    return index;
}

/// Writes over what was recorded, and reads it.
void Use(const recording::DeviceRecord &device)
{
    GenTL::simulator::RecordedRegisters registers(device, [](const std::string &) {});
    for (const auto &memory : device.registers.memory)
    {
        std::vector<uint8_t> bytes(memory.bytes.size());
        registers.Read(memory.address, bytes);
        for (auto &byte : bytes)
        {
            byte ^= 1;
        }
        Try<GenTL::simulator::Error>([&] { registers.Write(memory.address, bytes); });
    }
}

void Read(const fs::path &folder)
{
    Try<recording::Error>(
        [&]
        {
            const recording::RecordingReader reader(folder);
            std::vector<uint8_t> bytes(reader.LargestFrame());
            for (size_t i = 0; i < reader.Frames(); ++i)
            {
                reader.Record(i);
                reader.ReadFrame(i, bytes);
            }
            Try<GenTL::simulator::Error>([&] { Use(reader.Device()); });
        });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize)
{
    static const fs::path folder = []
    {
        auto made = MakeFolder();
        Write(made);
        return made;
    }();
    constexpr const char *files[] = {recording::indexFile, recording::dataFile, recording::deviceFile};
    if (dataSize == 0 || data[0] >= std::size(files))
    {
        return -1;
    }
    const auto file = folder / files[data[0]];
    static const fs::path kept = folder / "kept";
    fs::rename(file, kept);
    const std::string content(reinterpret_cast<const char *>(data) + 1, dataSize - 1);
    for (const auto &version : {content, Sealed(content)})
    {
        std::ofstream(file, std::ios::binary) << version;
        Read(folder);
    }
    fs::rename(kept, file);
    return 0;
}
