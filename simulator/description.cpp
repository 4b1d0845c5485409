#include "description.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <pugixml.hpp>
#include <sstream>

namespace GenTL::simulator
{

namespace
{

constexpr const char *userSetLoad = "UserSetLoad";

std::string Hex(uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

/** As the schema's type hexBinary, which takes whole bytes alone. */
std::string HexBinary(uint64_t value)
{
    const std::string digits = Hex(value).substr(2);
    return digits.size() % 2 == 0 ? digits : "0" + digits;
}

/** Whether the feature is a register itself and has no node for its value. */
bool IsRegister(const Feature &feature)
{
    return feature.kind == FeatureKind::String || feature.kind == FeatureKind::Bytes;
}

/** The schema demands the children of a node in a fixed order: each function adds its share in turn. */
class Writer
{
public:
    Writer(const FeatureLayout &layout, std::string portName)
        : m_layout(layout), m_portName(std::move(portName))
    {
    }

    std::string Write(const DescriptionIdentity &identity, const std::vector<ChunkPort> &chunks);

private:
    void AddRoot(const DescriptionIdentity &identity);
    void AddCategories(const std::vector<ChunkPort> &chunks);
    void AddFeature(const FeatureLayout::Place &place);
    void AddOwnRegister(const FeatureLayout::Place &place);
    void AddRegister(const FeatureLayout::Place &place);
    void AddRegisterBody(pugi::xml_node node, uint64_t address, size_t length, Access access,
                         const std::string &port);
    void AddCaching(pugi::xml_node node, const Feature &feature);
    void AddValueNode(const FeatureLayout::Place &place);
    void AddIntegerLimits(pugi::xml_node node, const Feature &feature);
    void AddLimit(pugi::xml_node node, const std::string &which, const Feature &feature, const Limit &limit);
    void AddEntries(pugi::xml_node node, const FeatureLayout::Place &place);
    pugi::xml_node AddBitRegister(const BitRegister &bits);
    void AddEntryConditions(const FeatureLayout::Place &place);
    void AddStructEntry(pugi::xml_node record, const std::string &name, const std::string &bit);
    void AddFormula(const char *element, const std::string &name,
                    const std::vector<std::pair<std::string, std::string>> &variables,
                    const std::string &formula);
    /** The name of the converter that divides what is in the feature's register. */
    std::string AddDivision(const Feature &feature);
    void AddUnit(pugi::xml_node node, const Feature &feature);
    void AddSelected(pugi::xml_node node, const Feature &feature);
    void AddChunk(const ChunkPort &chunk);

    pugi::xml_node Add(const char *element, const std::string &name, bool vendorSpecific);
    static void Add(pugi::xml_node parent, const std::string &element, const std::string &text);
    static std::string RegisterName(const Feature &feature);

    const FeatureLayout &m_layout;
    std::string m_portName;
    pugi::xml_document m_document;
    pugi::xml_node m_root;
};

pugi::xml_node Writer::Add(const char *element, const std::string &name, bool vendorSpecific)
{
    pugi::xml_node node = m_root.append_child(element);
    node.append_attribute("Name") = name.c_str();
    node.append_attribute("NameSpace") = vendorSpecific ? "Custom" : "Standard";
    return node;
}

void Writer::Add(pugi::xml_node parent, const std::string &element, const std::string &text)
{
    parent.append_child(element.c_str()).text().set(text.c_str());
}

std::string Writer::RegisterName(const Feature &feature)
{
    return IsRegister(feature) ? feature.name : feature.name + "Reg";
}

void Writer::AddRoot(const DescriptionIdentity &identity)
{
    pugi::xml_node declaration = m_document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "utf-8";
    m_root = m_document.append_child("RegisterDescription");
    const std::pair<const char *, const char *> attributes[] = {
        {"ModelName", identity.modelName.c_str()},
        {"VendorName", "QVR"},
        {"ToolTip", identity.toolTip.c_str()},
        {"StandardNameSpace", "None"},
        {"SchemaMajorVersion", "1"},
        {"SchemaMinorVersion", "1"},
        {"SchemaSubMinorVersion", "0"},
        {"MajorVersion", "1"},
        {"MinorVersion", "0"},
        {"SubMinorVersion", "0"},
        {"ProductGuid", identity.productGuid.c_str()},
        {"VersionGuid", identity.versionGuid.c_str()},
        {"xmlns", "http://www.genicam.org/GenApi/Version_1_1"},
        {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
        {"xsi:schemaLocation", "http://www.genicam.org/GenApi/Version_1_1 "
                               "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd"}};
    for (const auto &[name, value] : attributes)
    {
        m_root.append_attribute(name) = value;
    }
}

void Writer::AddCategories(const std::vector<ChunkPort> &chunks)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> categories;
    const auto add = [&](const std::string &category, const std::string &feature)
    {
        auto found = std::find_if(categories.begin(), categories.end(),
                                  [&](const auto &known) { return known.first == category; });
        if (found == categories.end())
        {
            found = categories.insert(categories.end(), {category, {}});
        }
        found->second.push_back(feature);
    };
    for (const FeatureLayout::Place &place : m_layout.places)
    {
        if (!place.feature.category.empty())
        {
            add(place.feature.category, place.feature.name);
        }
    }
    for (const ChunkPort &chunk : chunks)
    {
        add("ChunkDataControl", chunk.feature);
    }
    pugi::xml_node root = Add("Category", "Root", false);
    for (const auto &[category, features] : categories)
    {
        Add(root, "pFeature", category);
        pugi::xml_node node = Add("Category", category, false);
        Add(node, "DisplayName", DisplayName(category));
        for (const std::string &feature : features)
        {
            Add(node, "pFeature", feature);
        }
    }
}

void Writer::AddRegisterBody(pugi::xml_node node, uint64_t address, size_t length, Access access,
                             const std::string &port)
{
    Add(node, "Address", Hex(address));
    Add(node, "Length", std::to_string(length));
    Add(node, "AccessMode", access == Access::ReadOnly ? "RO" : access == Access::WriteOnly ? "WO" : "RW");
    Add(node, "pPort", port);
}

void Writer::AddCaching(pugi::xml_node node, const Feature &feature)
{
    if (feature.changesByItself || feature.kind == FeatureKind::Command)
    {
        Add(node, "Cachable", "NoCache");
        if (feature.changesByItself)
        {
            Add(node, "PollingTime", "1000");
        }
    }
    if (!feature.selector.empty())
    {
        Add(node, "pInvalidator", RegisterName(m_layout.Find(feature.selector).feature));
    }
    if (m_layout.Has(userSetLoad) && IsOfUserSets(feature))
    {
        Add(node, "pInvalidator", RegisterName(m_layout.Find(userSetLoad).feature));
    }
}

void AddBase(pugi::xml_node node, const Feature &feature)
{
    node.append_child("ToolTip").text().set(feature.toolTip.c_str());
    node.append_child("Description").text().set(feature.toolTip.c_str());
    node.append_child("DisplayName").text().set(DisplayName(feature.name).c_str());
    node.append_child("Visibility")
        .text()
        .set(feature.category.empty() ? "Invisible" : feature.visibility.c_str());
    if (const std::string &lock = feature.shownLock.empty() ? feature.lock : feature.shownLock; !lock.empty())
    {
        node.append_child("pIsLocked").text().set(lock.c_str());
    }
}

void Writer::AddOwnRegister(const FeatureLayout::Place &place)
{
    const bool isText = place.feature.kind == FeatureKind::String;
    pugi::xml_node node =
        Add(isText ? "StringReg" : "Register", place.feature.name, place.feature.vendorSpecific);
    AddBase(node, place.feature);
    AddRegisterBody(node, place.address, place.feature.length, place.feature.access, m_portName);
    AddCaching(node, place.feature);
}

void Writer::AddRegister(const FeatureLayout::Place &place)
{
    const Feature &feature = place.feature;
    const bool isFloat = feature.kind == FeatureKind::Float;
    pugi::xml_node node = Add(isFloat ? "FloatReg" : "IntReg", RegisterName(feature), true);
    Add(node, "Visibility", "Invisible");
    AddRegisterBody(node, place.address, feature.length, feature.access, m_portName);
    AddCaching(node, feature);
    if (!isFloat)
    {
        const bool isSigned = feature.minimum && feature.minimum->number.value_or(0) < 0;
        Add(node, "Sign", isSigned ? "Signed" : "Unsigned");
    }
    Add(node, "Endianess", "LittleEndian");
}

void Writer::AddFormula(const char *element, const std::string &name,
                        const std::vector<std::pair<std::string, std::string>> &variables,
                        const std::string &formula)
{
    pugi::xml_node node = Add(element, name, true);
    Add(node, "Visibility", "Invisible");
    for (const auto &[variable, target] : variables)
    {
        pugi::xml_node child = node.append_child("pVariable");
        child.append_attribute("Name") = variable.c_str();
        child.text().set(target.c_str());
    }
    Add(node, "Formula", formula);
}

std::string Writer::AddDivision(const Feature &feature)
{
    std::string name = feature.name + "Converter";
    pugi::xml_node node = Add("Converter", name, true);
    Add(node, "Visibility", "Invisible");
    const bool isNumber = std::isdigit(static_cast<unsigned char>(feature.divisor.front())) != 0;
    pugi::xml_node divisor = node.append_child(isNumber ? "Constant" : "pVariable");
    divisor.append_attribute("Name") = "DIVISOR";
    divisor.text().set(feature.divisor.c_str());
    Add(node, "FormulaTo", "FROM * DIVISOR");
    Add(node, "FormulaFrom", "TO / DIVISOR");
    Add(node, "pValue", RegisterName(feature));
    return name;
}

void Writer::AddLimit(pugi::xml_node node, const std::string &which, const Feature &feature,
                      const Limit &limit)
{
    if (limit.number)
    {
        Add(node, which, std::to_string(*limit.number));
    }
    else if (limit.minus.empty())
    {
        Add(node, "p" + which, limit.feature);
    }
    else
    {
        const std::string formula = feature.name + which + "Limit";
        AddFormula("IntSwissKnife", formula, {{"WHOLE", limit.feature}, {"PART", limit.minus}},
                   "WHOLE - PART");
        Add(node, "p" + which, formula);
    }
}

void Writer::AddIntegerLimits(pugi::xml_node node, const Feature &feature)
{
    if (feature.minimum)
    {
        AddLimit(node, "Min", feature, *feature.minimum);
    }
    if (feature.maximum)
    {
        AddLimit(node, "Max", feature, *feature.maximum);
    }
    if (feature.increment != 1)
    {
        Add(node, "Inc", std::to_string(feature.increment));
    }
}

void Writer::AddUnit(pugi::xml_node node, const Feature &feature)
{
    if (!feature.unit.empty())
    {
        Add(node, "Unit", feature.unit);
    }
    if (!feature.representation.empty())
    {
        Add(node, "Representation", feature.representation);
    }
}

void Writer::AddSelected(pugi::xml_node node, const Feature &feature)
{
    for (const FeatureLayout::Place &place : m_layout.places)
    {
        if (place.feature.selector == feature.name)
        {
            Add(node, "pSelected", place.feature.name);
        }
    }
}

pugi::xml_node Writer::AddBitRegister(const BitRegister &bits)
{
    pugi::xml_node node = bits.isStruct ? m_root.append_child("StructReg") : Add("IntReg", bits.name, true);
    if (bits.isStruct)
    {
        node.append_attribute("Comment") = bits.name.c_str();
    }
    else
    {
        Add(node, "Visibility", "Invisible");
    }
    AddRegisterBody(node, bits.address, bits.length, Access::ReadOnly, m_portName);
    Add(node, "Cachable", "NoCache");
    if (!bits.isStruct)
    {
        Add(node, "Sign", "Unsigned");
    }
    Add(node, "Endianess", bits.bigEndian ? "BigEndian" : "LittleEndian");
    return node;
}

void Writer::AddEntryConditions(const FeatureLayout::Place &place)
{
    std::vector<pugi::xml_node> nodes;
    for (const BitRegister &bits : place.bitRegisters)
    {
        nodes.push_back(AddBitRegister(bits));
    }
    const auto add = [&](const EntryBit &bit, const std::string &name)
    {
        const std::string &bits = place.bitRegisters[bit.registerIndex].name;
        const std::string number = std::to_string(bit.bit);
        switch (bit.form)
        {
        case BitForm::ShortFormula:
            return AddFormula("IntSwissKnife", name, {{"BITS", bits}}, "BITS & 1");
        case BitForm::Formula:
            return AddFormula("IntSwissKnife", name, {{"BITS", bits}}, "(BITS >> " + number + ") & 1");
        case BitForm::BracketedFormula:
            return AddFormula("IntSwissKnife", name, {{"BITS", bits}}, "((BITS >> " + number + ") & 1)");
        case BitForm::StructEntry:
            return AddStructEntry(nodes[bit.registerIndex], name, number);
        case BitForm::Plain:
            break;
        }
    };
    for (size_t i = 0; i < place.feature.entries.size(); ++i)
    {
        const std::string prefix = place.feature.name + place.feature.entries[i].name;
        add(place.available[i], prefix + "Available");
        add(place.implemented[i], prefix + "Implemented");
    }
}

void Writer::AddStructEntry(pugi::xml_node record, const std::string &name, const std::string &bit)
{
    pugi::xml_node entry = record.append_child("StructEntry");
    entry.append_attribute("Name") = name.c_str();
    entry.append_attribute("NameSpace") = "Custom";
    Add(entry, "Visibility", "Invisible");
    Add(entry, "Bit", bit);
    Add(entry, "Sign", "Unsigned");
}

/** The node that tells of a bit: the register itself, or what AddEntryConditions made of this name. */
std::string NodeOfBit(const FeatureLayout::Place &place, const EntryBit &bit, const std::string &name)
{
    return bit.form == BitForm::Plain ? place.bitRegisters[bit.registerIndex].name : name;
}

void Writer::AddEntries(pugi::xml_node node, const FeatureLayout::Place &place)
{
    for (size_t i = 0; i < place.feature.entries.size(); ++i)
    {
        const EnumEntry &entry = place.feature.entries[i];
        const std::string prefix = place.feature.name + entry.name;
        pugi::xml_node child = node.append_child("EnumEntry");
        child.append_attribute("Name") = entry.name.c_str();
        child.append_attribute("NameSpace") = place.feature.vendorSpecific ? "Custom" : "Standard";
        if (place.feature.conditionalEntries)
        {
            Add(child, "pIsImplemented", NodeOfBit(place, place.implemented[i], prefix + "Implemented"));
            Add(child, "pIsAvailable", NodeOfBit(place, place.available[i], prefix + "Available"));
        }
        Add(child, "Value", std::to_string(entry.value));
    }
}

void Writer::AddValueNode(const FeatureLayout::Place &place)
{
    static constexpr const char *elements[] = {"Integer", "Float", "Boolean", "Enumeration", "Command"};
    const Feature &feature = place.feature;
    if (feature.conditionalEntries)
    {
        AddEntryConditions(place);
    }
    const bool isDivided = !feature.divisor.empty();
    const std::string source = isDivided ? AddDivision(feature) : RegisterName(feature);
    const FeatureKind shown = isDivided ? FeatureKind::Float : feature.kind;
    pugi::xml_node node = Add(elements[static_cast<size_t>(shown)], feature.name, feature.vendorSpecific);
    AddBase(node, feature);
    if (feature.kind == FeatureKind::Enumeration)
    {
        AddEntries(node, place);
    }
    Add(node, "pValue", source);
    switch (shown)
    {
    case FeatureKind::Integer:
        AddIntegerLimits(node, feature);
        AddUnit(node, feature);
        break;
    case FeatureKind::Float:
        if (feature.floatRange)
        {
            std::ostringstream low, high;
            low << feature.floatRange->first;
            high << feature.floatRange->second;
            Add(node, "Min", low.str());
            Add(node, "Max", high.str());
        }
        else if (feature.floatBounds)
        {
            const std::string formula = feature.name + "MaxFormula";
            AddFormula("SwissKnife", formula, {{"LIMIT", feature.floatBounds->second}}, "LIMIT");
            Add(node, "pMin", feature.floatBounds->first);
            Add(node, "pMax", formula);
        }
        AddUnit(node, feature);
        break;
    case FeatureKind::Boolean:
        Add(node, "OnValue", "1");
        Add(node, "OffValue", "0");
        break;
    case FeatureKind::Command:
        Add(node, "CommandValue", "1");
        break;
    default:
        break;
    }
    if (shown == FeatureKind::Integer || shown == FeatureKind::Enumeration)
    {
        AddSelected(node, feature);
    }
}

void Writer::AddFeature(const FeatureLayout::Place &place)
{
    if (IsRegister(place.feature))
    {
        AddOwnRegister(place);
        return;
    }
    AddRegister(place);
    AddValueNode(place);
}

void Writer::AddChunk(const ChunkPort &chunk)
{
    const std::string port = chunk.feature + "Port";
    pugi::xml_node portNode = Add("Port", port, true);
    Add(portNode, "Visibility", "Invisible");
    Add(portNode, "ChunkID", HexBinary(chunk.id));

    const bool isFloat = chunk.kind == FeatureKind::Float;
    pugi::xml_node reg = Add(isFloat ? "FloatReg" : "IntReg", chunk.feature + "Reg", true);
    Add(reg, "Visibility", "Invisible");
    AddRegisterBody(reg, 0, chunk.length, Access::ReadOnly, port);
    Add(reg, "Cachable", "NoCache");
    if (!isFloat)
    {
        Add(reg, "Sign", "Unsigned");
    }
    Add(reg, "Endianess", "LittleEndian");

    pugi::xml_node value = Add(isFloat ? "Float" : "Integer", chunk.feature, false);
    Add(value, "ToolTip", chunk.toolTip);
    Add(value, "Description", chunk.toolTip);
    Add(value, "DisplayName", DisplayName(chunk.feature));
    Add(value, "Visibility", "Expert");
    Add(value, "pValue", chunk.feature + "Reg");
}

std::string Writer::Write(const DescriptionIdentity &identity, const std::vector<ChunkPort> &chunks)
{
    AddRoot(identity);
    AddCategories(chunks);
    for (const FeatureLayout::Place &place : m_layout.places)
    {
        AddFeature(place);
    }
    for (const ChunkPort &chunk : chunks)
    {
        AddChunk(chunk);
    }
    Add(Add("Port", m_portName, false), "Visibility", "Invisible");
    std::ostringstream text;
    m_document.save(text, "  ");
    return text.str();
}

} // namespace

std::string BuildDescription(const DescriptionIdentity &identity, const FeatureLayout &layout,
                             const std::vector<ChunkPort> &chunks)
{
    return Writer(layout, identity.portName).Write(identity, chunks);
}

} // namespace GenTL::simulator
