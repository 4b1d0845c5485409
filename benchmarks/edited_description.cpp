// What opening a device costs: its description of 1.3 MB is read from its port, parsed, made a graph of its
// nodes, edited and hashed. The reference is pugixml, which parses the document and writes it once. Measures
// the CPU time of the thread, both in turns in one run, and prints the ratio.
//
//   bench_edited_description [rounds]

#include "genapi/node_graph.h"
#include "median.h"
#include "nodemap/description_text.h"
#include "remote/conversion_delivery.h"
#include "remote/edited_remote.h"
#include "support/stored_device.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace GenTL;
using namespace GenTL::internal;

std::string Feature(int number)
{
    return fmt::format(
        "<Integer Name=\"Feature{0}\" NameSpace=\"Custom\">\n<ToolTip>Sets the feature {0} of the "
        "camera.</ToolTip>\n"
        "<Description>{1}</Description>\n<DisplayName>Feature "
        "{0}</DisplayName>\n<Visibility>Guru</Visibility>\n"
        "<pIsAvailable>Condition{0}</pIsAvailable>\n<pValue>Register{0}</pValue>\n<Min>0</Min>\n"
        "<pMax>Width</pMax>\n</Integer>\n"
        "<IntReg Name=\"Register{0}\">\n<Address>0x{2:X}</Address>\n<Length>4</Length>\n"
        "<AccessMode>RW</AccessMode>\n<pPort>Device</pPort>\n<Cachable>WriteThrough</Cachable>\n"
        "<pInvalidator>PixelFormatReg</pInvalidator>\n<Sign>Unsigned</Sign>\n<Endianess>BigEndian</"
        "Endianess>\n"
        "</IntReg>\n<IntSwissKnife Name=\"Condition{0}\">\n<pVariable Name=\"A\">Register0</pVariable>\n"
        "<Formula>(A &gt;&gt; {3}) &amp; 1</Formula>\n</IntSwissKnife>\n",
        number, std::string(580, 'x'), 0x1000 + 4 * number, number % 32);
}

/// A description of 1.3 MB with 3,000 nodes.
const std::string &Document()
{
    static const auto document = []
    {
        std::string text =
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription SchemaMajorVersion=\"1\" "
            "SchemaMinorVersion=\"1\" VersionGuid=\"0D1E2F30-1111-4222-8333-444455556666\">\n";
        text += "<Enumeration Name=\"PixelFormat\"><EnumEntry "
                "Name=\"Mono8\"><Value>0x01080001</Value></EnumEntry>"
                "<EnumEntry Name=\"Mono12p\"><Value>0x010C0047</Value></EnumEntry><EnumEntry Name=\"Mono12\">"
                "<Value>0x01100005</Value></EnumEntry><pValue>PixelFormatReg</pValue></Enumeration>";
        for (const auto *name : {"PixelFormat", "Width", "Height", "PayloadSize"})
        {
            text +=
                fmt::format("<IntReg Name=\"{}Reg\"><Address>0x100</Address><Length>4</Length><pPort>Device"
                            "</pPort></IntReg><Integer Name=\"{}\"><pValue>{}Reg</pValue></Integer>",
                            name, std::string_view(name) == "PixelFormat" ? "Other" : name, name);
        }
        for (int i = 0; i < 1000; ++i)
        {
            text += Feature(i);
        }
        return text + "<Port Name=\"Device\"/></RegisterDescription>\n";
    }();
    return document;
}

std::span<const uint8_t> DocumentBytes()
{
    return {reinterpret_cast<const uint8_t *>(Document().data()), Document().size()};
}

/// pugixml reads the document and writes it.
void ParseAndWrite()
{
    struct Writer final : pugi::xml_writer
    {
        std::string text;
        void write(const void *data, size_t size) override
        {
            text.append(static_cast<const char *>(data), size);
        }
    };
    pugi::xml_document tree;
    tree.load_buffer(Document().data(), Document().size());
    Writer writer;
    tree.save(writer, "", pugi::format_raw);
}

void Open()
{
    using tarn::common::wideFormats;
    static const ConversionTable conversions(
        std::vector<FormatConversion>{{wideFormats.Find("Mono12p"), wideFormats.Find("Mono12")}});
    StoredDevice device(DocumentBytes());
    const EditedRemote remote(device, "device", conversions,
                              std::make_shared<ConversionDelivery>(std::make_shared<ConversionProcessor>()));
}

void Decode()
{
    static_cast<void>(DescriptionText(DocumentBytes()));
}

void ParseAndGraph()
{
    pugi::xml_document tree;
    tree.load_buffer(Document().data(), Document().size(), pugi::parse_default, pugi::encoding_utf8);
    const genapi::NodeGraph graph(tree);
}

void Hash()
{
    static_cast<void>(HashOf(Document()));
}

struct Step
{
    const char *name;
    void (*run)();
    std::vector<double> milliseconds;
    std::vector<double> ratios;
};

double MillisecondsOf(void (*run)())
{
    const auto now = []
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
    };
    const auto begin = now();
    run();
    return now() - begin;
}

} // namespace

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 51;
    if (rounds <= 0)
    {
        fmt::print(stderr, "usage: bench_edited_description [rounds]\n");
        return 2;
    }
    Step steps[] = {{"parse and write", ParseAndWrite, {}, {}},
                    {"open", Open, {}, {}},
                    {"  decode", Decode, {}, {}},
                    {"  parse, graph", ParseAndGraph, {}, {}},
                    {"  hash", Hash, {}, {}}};
    for (int round = 0; round < rounds; ++round)
    {
        for (auto &step : steps)
        {
            step.milliseconds.push_back(MillisecondsOf(step.run));
            step.ratios.push_back(step.milliseconds.back() / steps[0].milliseconds.back());
        }
    }
    fmt::print("{} bytes, median of {} rounds\n", Document().size(), rounds);
    for (const auto &step : steps)
    {
        const auto [least, most] = std::ranges::minmax(step.ratios);
        fmt::print("{:<16} {:8.3f} ms  ratio {:.2f} ({:.2f} to {:.2f})\n", step.name,
                   MedianOf(step.milliseconds), MedianOf(step.ratios), least, most);
    }
    return 0;
}
