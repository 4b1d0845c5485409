#include "genapi/node_graph.h"
#include "nodemap/description_text.h"
#include "remote/description_editor.h"
#include "run.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace
{

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
        number, std::string(280, 'x'), 0x1000 + 4 * number, number % 32);
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

/// What the bar is measured against: pugixml reads the document and writes it.
void ParseAndWrite(benchmark::State &state)
{
    struct Writer final : pugi::xml_writer
    {
        std::string text;
        void write(const void *data, size_t size) override
        {
            text.append(static_cast<const char *>(data), size);
        }
    };
    for (auto _ : state)
    {
        pugi::xml_document tree;
        tree.load_buffer(Document().data(), Document().size());
        Writer writer;
        tree.save(writer, "", pugi::format_raw);
        benchmark::DoNotOptimize(writer.text.data());
    }
    state.counters["bytes"] = static_cast<double>(Document().size());
}

/// What opening a device does with the bytes of the document.
void ReadAndEdit(benchmark::State &state)
{
    using tarn::common::wideFormats;
    const ConversionTable conversions({{wideFormats.Find("Mono12p"), wideFormats.Find("Mono12")}});
    const std::vector<uint8_t> bytes(Document().begin(), Document().end());
    for (auto _ : state)
    {
        const auto text = DescriptionText(bytes);
        pugi::xml_document tree;
        tree.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
        const genapi::NodeGraph graph(tree);
        const auto edited =
            DescriptionEditor({text, tree.document_element(), graph, {0, text.size()}}, conversions).Edit();
        benchmark::DoNotOptimize(edited.document.data());
    }
}

void ReadAndGraph(benchmark::State &state)
{
    for (auto _ : state)
    {
        pugi::xml_document tree;
        tree.load_buffer(Document().data(), Document().size(), pugi::parse_default, pugi::encoding_utf8);
        const genapi::NodeGraph graph(tree);
        benchmark::DoNotOptimize(graph.Size());
    }
}

void Hash(benchmark::State &state)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(HashOf(Document()));
    }
}

BENCHMARK(ParseAndWrite)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadAndGraph)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadAndEdit)->Unit(benchmark::kMicrosecond);
BENCHMARK(Hash)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    return RunBenchmarks(argc, argv);
}
