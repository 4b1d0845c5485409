#include "simulator/features/entry_conditions.h"

#include <fmt/format.h>

namespace GenTL::simulator
{

namespace
{

pugi::xml_node AddStruct(DescriptionNodes &nodes, const std::string &name)
{
    auto node = nodes.Root().append_child("StructReg");
    node.append_attribute("Comment") = name.c_str();
    return node;
}

pugi::xml_node AddBitRegister(DescriptionNodes &nodes, const BitRegister &bits)
{
    auto node = bits.isStruct ? AddStruct(nodes, bits.name) : nodes.AddInvisible("IntReg", bits.name);
    nodes.AddPlace(node, {bits.address, bits.length, Access::ReadOnly});
    AddChild(node, "Cachable", "NoCache");
    if (!bits.isStruct)
    {
        AddChild(node, "Sign", "Unsigned");
    }
    AddChild(node, "Endianess", bits.bigEndian ? "BigEndian" : "LittleEndian");
    return node;
}

void AddStructEntry(pugi::xml_node record, const std::string &name, unsigned bit)
{
    auto entry = record.append_child("StructEntry");
    entry.append_attribute("Name") = name.c_str();
    entry.append_attribute("NameSpace") = "Custom";
    AddChild(entry, "Visibility", "Invisible");
    AddChild(entry, "Bit", fmt::to_string(bit));
    AddChild(entry, "Sign", "Unsigned");
}

/// The node that reads one bit. A plain bit needs none: its register is the node.
void AddCondition(DescriptionNodes &nodes, const EntryBit &bit, const std::string &bits,
                  pugi::xml_node record, const std::string &name)
{
    const auto addFormula = [&](const std::string &formula) {
        nodes.AddFormula("IntSwissKnife", name, {{"BITS", bits}}, formula);
    };
    switch (bit.form)
    {
    case BitForm::ShortFormula:
        return addFormula("BITS & 1");
    case BitForm::Formula:
        return addFormula(fmt::format("(BITS >> {}) & 1", bit.bit));
    case BitForm::BracketedFormula:
        return addFormula(fmt::format("((BITS >> {}) & 1)", bit.bit));
    case BitForm::StructEntry:
        return AddStructEntry(record, name, bit.bit);
    case BitForm::Plain:
        return;
    }
}

/// The name of the node that reads the bit: `name`, or the register of a plain bit.
std::string NodeOfBit(const FeatureLayout::Place &place, const EntryBit &bit, const std::string &name)
{
    return bit.form == BitForm::Plain ? place.bitRegisters[bit.registerIndex].name : name;
}

} // namespace

void AddEntryConditions(DescriptionNodes &nodes, const FeatureLayout::Place &place)
{
    std::vector<pugi::xml_node> records;
    for (const auto &bits : place.bitRegisters)
    {
        records.push_back(AddBitRegister(nodes, bits));
    }
    const auto add = [&](const EntryBit &bit, const std::string &name) {
        AddCondition(nodes, bit, place.bitRegisters[bit.registerIndex].name, records[bit.registerIndex],
                     name);
    };
    for (size_t i = 0; i < place.feature.entries.size(); ++i)
    {
        const auto prefix = place.feature.name + place.feature.entries[i].name;
        add(place.available[i], prefix + "Available");
        add(place.implemented[i], prefix + "Implemented");
    }
}

void AddEntries(pugi::xml_node node, const FeatureLayout::Place &place)
{
    for (size_t i = 0; i < place.feature.entries.size(); ++i)
    {
        const auto &entry = place.feature.entries[i];
        const auto prefix = place.feature.name + entry.name;
        auto child = node.append_child("EnumEntry");
        child.append_attribute("Name") = entry.name.c_str();
        child.append_attribute("NameSpace") = place.feature.vendorSpecific ? "Custom" : "Standard";
        if (place.feature.conditionalEntries)
        {
            AddChild(child, "pIsImplemented", NodeOfBit(place, place.implemented[i], prefix + "Implemented"));
            AddChild(child, "pIsAvailable", NodeOfBit(place, place.available[i], prefix + "Available"));
        }
        AddChild(child, "Value", fmt::to_string(entry.value));
    }
}

} // namespace GenTL::simulator
