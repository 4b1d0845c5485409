// The cost of the node graph of a large description, compared with parsing its text: what opening a device
// adds, and what reading features costs afterwards. All alternate in one run. One thread.

#include "genapi/graph_features.h"
#include "median.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace GenTL::internal::genapi;

/// A port whose registers are all zero.
class ZeroPort final : public IRegisterPort
{
public:
    void Read(uint64_t, void *data, size_t size) override { std::memset(data, 0, size); }
    void Write(uint64_t, const void *, size_t) override {}
};

std::string Documentation(int index)
{
    return fmt::format("<ToolTip>The value number {0} of this device, in one line.</ToolTip>"
                       "<Description>{1:.<400}</Description><DisplayName>Value number {0}</DisplayName>"
                       "<Visibility>Expert</Visibility>",
                       index, "A longer text, as a device has it for each of its features");
}

/// A feature with the nodes behind it: an integer over a converter over a register, its limits, its
/// condition, an enumeration with entries: six nodes and eight entries.
std::string Feature(int i)
{
    std::string text = fmt::format(
        "<Integer Name=\"Value{0}\">{1}<pIsImplemented>Condition{0}</pIsImplemented>"
        "<pIsLocked>TLParamsLocked</pIsLocked><pValue>Converter{0}</pValue><pMax>Limit{0}</pMax><Inc>1</"
        "Inc></Integer>"
        "<IntConverter Name=\"Converter{0}\">{1}<pVariable Name=\"LIMIT\">Limit{0}</pVariable>"
        "<FormulaTo>FROM &gt; LIMIT ? LIMIT : FROM * 2</FormulaTo><FormulaFrom>TO / 2</FormulaFrom>"
        "<pValue>Register{0}</pValue></IntConverter>"
        "<IntReg "
        "Name=\"Register{0}\">{1}<Address>{2:#x}</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><pInvalidator>Value0</pInvalidator><Sign>Unsigned</Sign>"
        "<Endianess>BigEndian</Endianess></IntReg>"
        "<Integer Name=\"Limit{0}\"><Value>1000</Value></Integer>"
        "<IntSwissKnife Name=\"Condition{0}\"><pVariable Name=\"R\">Register{0}</pVariable>"
        "<Formula>(R = 5) || (R = 6) ? 0 : 1</Formula></IntSwissKnife>"
        "<Enumeration Name=\"Choice{0}\">{1}",
        i, Documentation(i), 0x10000 + 4 * i);
    for (int entry = 0; entry < 8; ++entry)
    {
        text += fmt::format("<EnumEntry Name=\"Choice{}\"><DisplayName>The choice</DisplayName>"
                            "<pIsAvailable>Condition{}</pIsAvailable><Value>{}</Value></EnumEntry>",
                            entry, i, entry);
    }
    return text + fmt::format("<pValue>Register{}</pValue></Enumeration>\n", i);
}

std::string Description(int features)
{
    std::string text =
        "<RegisterDescription><Port Name=\"Device\"/><Integer Name=\"TLParamsLocked\"><Value>0</Value>"
        "</Integer>";
    for (int i = 0; i < features; ++i)
    {
        text += Feature(i);
    }
    return text + "</RegisterDescription>";
}

template <typename Action>
double Milliseconds(Action action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

struct Step
{
    const char *name;
    std::vector<double> times;
};

void Run(int features, int rounds)
{
    const auto text = Description(features);
    Step parse{"parse", {}};
    Step build{"graph", {}};
    Step first{"first read of one feature", {}};
    Step again{"second read of it", {}};
    Step entries{"entries of an enumeration", {}};
    size_t nodes = 0;
    for (int round = 0; round < rounds; ++round)
    {
        auto copy = text;
        pugi::xml_document document;
        parse.times.push_back(Milliseconds([&] { document.load_buffer_inplace(copy.data(), copy.size()); }));
        std::unique_ptr<NodeGraph> graph;
        build.times.push_back(Milliseconds([&] { graph = std::make_unique<NodeGraph>(document); }));
        nodes = graph->Size();
        ZeroPort port;
        GraphFeatures reader(*graph, port);
        first.times.push_back(Milliseconds([&] { reader.ReadInteger("Value7"); }));
        again.times.push_back(Milliseconds([&] { reader.ReadInteger("Value7"); }));
        entries.times.push_back(Milliseconds([&] { reader.EntriesOf("Choice7"); }));
    }
    fmt::print("{} bytes, {} nodes, median of {} rounds\n", text.size(), nodes, rounds);
    for (const auto &[name, times] : {parse, build, first, again, entries})
    {
        fmt::print("{:<28} {:8.4f} ms  {:6.3f} of parse\n", name, MedianOf(times),
                   MedianOf(times) / MedianOf(parse.times));
    }
}

} // namespace

int main()
{
    Run(215, 101);
    Run(420, 101);
}
