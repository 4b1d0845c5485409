#include "genapi/evaluator.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal::genapi
{
namespace
{

constexpr size_t maximumDepth = 100;
constexpr int maximumSteps = 10'000;

} // namespace

Evaluator::Step::Step(Evaluator &evaluator, NodeId id, Aspect aspect, const Property *expression)
    : m_evaluator(evaluator)
{
    const Place place{id, aspect, expression};
    auto &way = evaluator.m_way;
    const auto known = std::ranges::find(way, place);
    if (known != way.end())
    {
        const auto start = static_cast<size_t>(known - way.begin());
        throw GenApiError(fmt::format("{} depends on itself: {} -> {}",
                                      evaluator.Graph().Label(evaluator.m_feature), evaluator.WayFrom(start),
                                      evaluator.Label(place)));
    }
    if (way.size() >= maximumDepth)
    {
        evaluator.Fail(fmt::format("more than {} nodes depend on each other", maximumDepth));
    }
    if (++evaluator.m_steps > maximumSteps)
    {
        evaluator.Fail(fmt::format("more than {} nodes have to be evaluated", maximumSteps));
    }
    way.push_back(place);
}

NodeId Evaluator::Target(const Property &reference) const
{
    if (reference.target == noNode)
    {
        Fail(fmt::format("no node {}, which {} names as {}", reference.Text(),
                         Graph().Label(m_way.empty() ? m_feature : m_way.back().id), NameOf(reference.tag)));
    }
    return reference.target;
}

int64_t Evaluator::Integer(Number number) const
{
    const auto integer = number.Integer();
    if (!integer)
    {
        Fail(fmt::format("{} does not fit an integer", number.Text()), GC_ERR_INVALID_VALUE);
    }
    return *integer;
}

void Evaluator::Fail(const std::string &cause, GC_ERROR code) const
{
    const auto feature = Graph().Label(m_feature);
    const auto way = WayFrom(0);
    throw GenApiError(way.empty() || way == feature ? fmt::format("{}: {}", feature, cause)
                                                    : fmt::format("{}: {}: {}", feature, way, cause),
                      code);
}

std::string Evaluator::Label(const Place &place) const
{
    if (place.expression != nullptr)
    {
        return fmt::format("{} of {}", place.expression->Attribute("Name"), Graph().Label(place.id));
    }
    auto name = Graph().Label(place.id);
    switch (place.aspect)
    {
    case Aspect::Min:
        return name + ".Min";
    case Aspect::Max:
        return name + ".Max";
    case Aspect::Inc:
        return name + ".Inc";
    default:
        return name;
    }
}

/// The nodes on the way. A node that is first written and then read, for instance, is named once.
std::string Evaluator::WayFrom(size_t first) const
{
    std::vector<std::string> labels;
    for (size_t i = first; i < m_way.size(); ++i)
    {
        labels.push_back(Label(m_way[i]));
    }
    labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
    return fmt::format("{}", fmt::join(labels, " -> "));
}

} // namespace GenTL::internal::genapi
