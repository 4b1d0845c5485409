#include "simulator/features/feature_nodes.h"

#include "simulator/features/entry_conditions.h"

#include <fmt/format.h>

#include <cctype>
#include <sstream>

namespace GenTL::simulator
{

namespace
{

constexpr const char *userSetLoad = "UserSetLoad";

/// Whether the feature is a register itself and has no node for its value.
bool IsRegister(const Feature &feature)
{
    return feature.kind == FeatureKind::String || feature.kind == FeatureKind::Bytes;
}

std::string RegisterName(const Feature &feature)
{
    return IsRegister(feature) ? feature.name : feature.name + "Reg";
}

NameSpace NameSpaceOf(const Feature &feature)
{
    return feature.vendorSpecific ? NameSpace::Custom : NameSpace::Standard;
}

RegisterPlace RegisterOf(const FeatureLayout::Place &place)
{
    return {place.address.value(), place.feature.length, place.feature.access};
}

void AddBase(pugi::xml_node node, const Feature &feature)
{
    AddChild(node, "ToolTip", feature.toolTip);
    AddChild(node, "Description", feature.toolTip);
    AddChild(node, "DisplayName", DisplayName(feature.name));
    AddChild(node, "Visibility", feature.category.empty() ? "Invisible" : feature.visibility);
    if (const auto &lock = feature.shownLock.empty() ? feature.lock : feature.shownLock; !lock.empty())
    {
        AddChild(node, "pIsLocked", lock);
    }
}

void AddUnit(pugi::xml_node node, const Feature &feature)
{
    if (!feature.unit.empty())
    {
        AddChild(node, "Unit", feature.unit);
    }
    if (!feature.representation.empty())
    {
        AddChild(node, "Representation", feature.representation);
    }
}

/// The shortest text of the number with up to six digits.
std::string NumberText(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

} // namespace

void FeatureNodes::Add(const FeatureLayout::Place &place)
{
    if (IsRegister(place.feature))
    {
        AddOwnRegister(place);
        return;
    }
    AddRegister(place);
    AddValue(place);
}

void FeatureNodes::AddOwnRegister(const FeatureLayout::Place &place)
{
    const auto &feature = place.feature;
    const bool isText = feature.kind == FeatureKind::String;
    const auto node = m_nodes.Add(isText ? "StringReg" : "Register", feature.name, NameSpaceOf(feature));
    AddBase(node, feature);
    m_nodes.AddPlace(node, RegisterOf(place));
    AddCaching(node, feature);
}

void FeatureNodes::AddRegister(const FeatureLayout::Place &place)
{
    const auto &feature = place.feature;
    const bool isFloat = feature.kind == FeatureKind::Float;
    const auto node = m_nodes.AddInvisible(isFloat ? "FloatReg" : "IntReg", RegisterName(feature));
    m_nodes.AddPlace(node, RegisterOf(place));
    AddCaching(node, feature);
    if (!isFloat)
    {
        AddChild(node, "Sign", IsSigned(feature) ? "Signed" : "Unsigned");
    }
    AddChild(node, "Endianess", "LittleEndian");
}

void FeatureNodes::AddCaching(pugi::xml_node node, const Feature &feature)
{
    if (feature.changesByItself || feature.kind == FeatureKind::Command)
    {
        AddChild(node, "Cachable", "NoCache");
        if (feature.changesByItself)
        {
            AddChild(node, "PollingTime", "1000");
        }
    }
    if (!feature.selector.empty())
    {
        AddChild(node, "pInvalidator", RegisterName(m_layout.Find(feature.selector).feature));
    }
    if (m_layout.Has(userSetLoad) && IsOfUserSets(feature))
    {
        AddChild(node, "pInvalidator", RegisterName(m_layout.Find(userSetLoad).feature));
    }
}

void FeatureNodes::AddValue(const FeatureLayout::Place &place)
{
    static constexpr const char *elements[] = {"Integer", "Float", "Boolean", "Enumeration", "Command"};
    const auto &feature = place.feature;
    if (feature.conditionalEntries)
    {
        AddEntryConditions(m_nodes, place);
    }
    const bool isDivided = !feature.divisor.empty();
    const auto source = isDivided ? AddDivision(feature) : RegisterName(feature);
    const auto shown = isDivided ? FeatureKind::Float : feature.kind;
    const auto node = m_nodes.Add(elements[static_cast<size_t>(shown)], feature.name, NameSpaceOf(feature));
    AddBase(node, feature);
    if (feature.kind == FeatureKind::Enumeration)
    {
        AddEntries(node, place);
    }
    AddChild(node, "pValue", source);
    AddDetails(node, feature, shown);
    if (shown == FeatureKind::Integer || shown == FeatureKind::Enumeration)
    {
        AddSelected(node, feature);
    }
}

std::string FeatureNodes::AddDivision(const Feature &feature)
{
    auto name = feature.name + "Converter";
    auto node = m_nodes.AddInvisible("Converter", name);
    const bool isNumber = std::isdigit(static_cast<unsigned char>(feature.divisor.front())) != 0;
    auto divisor = node.append_child(isNumber ? "Constant" : "pVariable");
    divisor.append_attribute("Name") = "DIVISOR";
    divisor.text().set(feature.divisor.c_str());
    AddChild(node, "FormulaTo", "FROM * DIVISOR");
    AddChild(node, "FormulaFrom", "TO / DIVISOR");
    AddChild(node, "pValue", RegisterName(feature));
    return name;
}

void FeatureNodes::AddDetails(pugi::xml_node node, const Feature &feature, FeatureKind shown)
{
    switch (shown)
    {
    case FeatureKind::Integer:
        AddIntegerLimits(node, feature);
        AddUnit(node, feature);
        break;
    case FeatureKind::Float:
        AddFloatLimits(node, feature);
        AddUnit(node, feature);
        break;
    case FeatureKind::Boolean:
        AddChild(node, "OnValue", "1");
        AddChild(node, "OffValue", "0");
        break;
    case FeatureKind::Command:
        AddChild(node, "CommandValue", "1");
        break;
    default:
        break;
    }
}

void FeatureNodes::AddIntegerLimits(pugi::xml_node node, const Feature &feature)
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
        AddChild(node, "Inc", fmt::to_string(feature.increment));
    }
}

void FeatureNodes::AddLimit(pugi::xml_node node, const std::string &which, const Feature &feature,
                            const Limit &limit)
{
    if (limit.number)
    {
        AddChild(node, which, fmt::to_string(*limit.number));
    }
    else if (limit.minus.empty())
    {
        AddChild(node, "p" + which, limit.feature);
    }
    else
    {
        const auto formula = feature.name + which + "Limit";
        m_nodes.AddFormula("IntSwissKnife", formula, {{"WHOLE", limit.feature}, {"PART", limit.minus}},
                           "WHOLE - PART");
        AddChild(node, "p" + which, formula);
    }
}

void FeatureNodes::AddFloatLimits(pugi::xml_node node, const Feature &feature)
{
    if (feature.floatRange)
    {
        AddChild(node, "Min", NumberText(feature.floatRange->first));
        AddChild(node, "Max", NumberText(feature.floatRange->second));
    }
    else if (feature.floatBounds)
    {
        const auto formula = feature.name + "MaxFormula";
        m_nodes.AddFormula("SwissKnife", formula, {{"LIMIT", feature.floatBounds->second}}, "LIMIT");
        AddChild(node, "pMin", feature.floatBounds->first);
        AddChild(node, "pMax", formula);
    }
}

void FeatureNodes::AddSelected(pugi::xml_node node, const Feature &feature)
{
    for (const auto &place : m_layout.places)
    {
        if (place.feature.selector == feature.name)
        {
            AddChild(node, "pSelected", place.feature.name);
        }
    }
}

} // namespace GenTL::simulator
