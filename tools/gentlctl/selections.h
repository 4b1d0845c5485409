#pragma once

#include "gentlctl/register_log.h"
#include "recording/device_record.h"

#include "genapi/graph_features.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace gentlctl
{

/// Finds out what the registers of selected features hold for each value of their selectors: sets the
/// selectors one after the other, and sets them back at the end. Made for one use.
class SelectionSurvey
{
public:
    /// @param features read the registers through `log`
    SelectionSurvey(const GenTL::internal::genapi::NodeGraph &graph,
                    GenTL::internal::genapi::GraphFeatures &features, RegisterLog &log)
        : m_graph(graph), m_features(features), m_log(log)
    {
    }

    /// The registers that change with a selector.
    std::vector<recording::Selection> Run();

    /// Registers that were read and do not change with a selector.
    const RegisterLog::Blocks &Others() const { return m_others; }

private:
    using Names = std::vector<std::string>;
    using Values = std::vector<int64_t>;

    /// One set of values for the selectors, and what was read with them.
    struct Reading
    {
        std::vector<recording::Memory> selectors;
        RegisterLog::Blocks blocks;
    };

    std::map<Names, Names> Groups() const;
    std::vector<Values> CombinationsOf(const Names &selectors);
    Values ValuesOf(const std::string &selector);
    void Survey(const Names &selectors, const Names &selected, std::vector<recording::Selection> &result);
    Reading ReadWith(const Names &selectors, const Values &values, const Names &selected);
    void Split(const std::vector<Reading> &readings, std::vector<recording::Selection> &result);

    const GenTL::internal::genapi::NodeGraph &m_graph;
    GenTL::internal::genapi::GraphFeatures &m_features;
    RegisterLog &m_log;
    RegisterLog::Blocks m_others;
};

/// Reads all that a consumer may read of a feature. What cannot be read is left out.
void ReadAllOf(const GenTL::internal::genapi::NodeGraph &graph,
               GenTL::internal::genapi::GraphFeatures &features, const std::string &name);

} // namespace gentlctl
