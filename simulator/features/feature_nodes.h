#pragma once

#include "simulator/features/description_nodes.h"
#include "simulator/features/feature_layout.h"

namespace GenTL::simulator
{

/// Adds the nodes of features to a description. Both arguments of the constructor outlive it.
class FeatureNodes
{
public:
    FeatureNodes(DescriptionNodes &nodes, const FeatureLayout &layout) : m_nodes(nodes), m_layout(layout) {}

    void Add(const FeatureLayout::Place &place);

private:
    void AddOwnRegister(const FeatureLayout::Place &place);
    void AddRegister(const FeatureLayout::Place &place);
    void AddCaching(pugi::xml_node node, const Feature &feature);
    void AddValue(const FeatureLayout::Place &place);
    /// Adds the converter that divides the feature's register, and returns its name.
    std::string AddDivision(const Feature &feature);
    void AddDetails(pugi::xml_node node, const Feature &feature, FeatureKind shown);
    void AddIntegerLimits(pugi::xml_node node, const Feature &feature);
    void AddLimit(pugi::xml_node node, const std::string &which, const Feature &feature, const Limit &limit);
    void AddFloatLimits(pugi::xml_node node, const Feature &feature);
    void AddSelected(pugi::xml_node node, const Feature &feature);

    DescriptionNodes &m_nodes;
    const FeatureLayout &m_layout;
};

} // namespace GenTL::simulator
