#pragma once

#include "genapi/gen_api_error.h"
#include "genapi/graph_state.h"
#include "genapi/node_graph.h"
#include "genapi/number.h"

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal::genapi
{

/// What a pass wants to know of a node, or do to it.
enum class Aspect : uint8_t
{
    Value,
    Min,
    Max,
    Inc,
    Access,
    Write,
};

/// One pass over a graph: the way from the feature to the node that is being evaluated, and the values found
/// so far.
///
/// Made for each operation on a feature, on the stack of its caller, and used by that thread alone. It bounds
/// what a description can demand: 100 nodes on the way, 10,000 steps, no circle. The functions of values.h,
/// access.h, limits.h and writes.h take their steps through it.
class Evaluator
{
public:
    /// `feature` is the feature that the operation works on. Every message begins with its name.
    Evaluator(GraphState &state, NodeId feature) : m_state(state), m_feature(feature) {}

    GraphState &State() { return m_state; }
    const NodeGraph &Graph() const { return m_state.graph; }

    /// A step on the way: to a node, or to one of its Expressions. Its destructor takes it back.
    class Step
    {
    public:
        /// @throws GenApiError a circle, or beyond the limits of a pass
        Step(Evaluator &evaluator, NodeId id, Aspect aspect, const Property *expression = nullptr);
        ~Step() { m_evaluator.m_way.pop_back(); }
        Step(const Step &) = delete;
        Step &operator=(const Step &) = delete;

    private:
        Evaluator &m_evaluator;
    };

    /// The number that `compute` returns. It runs once per pass for each node and aspect.
    template <typename Compute>
    Number Once(NodeId id, Aspect aspect, Compute compute)
    {
        const Place place{id, aspect, nullptr};
        if (const auto known = m_numbers.find(place); known != m_numbers.end())
        {
            return known->second;
        }
        const Step step(*this, id, aspect);
        return m_numbers.insert_or_assign(place, compute()).first->second;
    }

    /// Whether a condition holds; the text says why it could not be evaluated, and is empty otherwise. A
    /// condition that failed is not tried again in the pass: many nodes may share it, and a failing port may
    /// be slow.
    template <typename Compute>
    std::pair<bool, std::string> ConditionOnce(NodeId id, Compute compute)
    {
        if (const auto known = m_failures.find(id); known != m_failures.end())
        {
            return {false, known->second};
        }
        try
        {
            return {compute(), std::string()};
        }
        catch (const GenApiError &error)
        {
            return {false, m_failures.insert_or_assign(id, error.what()).first->second};
        }
    }

    /// Forgets all values, since something was written.
    void ForgetValues()
    {
        m_numbers.clear();
        m_failures.clear();
    }
    /// Counts the steps from 0 again. For an operation that makes several passes and keeps the values.
    void RestartCount() { m_steps = 0; }

    /// The node that a reference names.
    /// @throws GenApiError "no node X, which Y names as pValue"
    NodeId Target(const Property &reference) const;
    /// @throws GenApiError a floating value is beyond int64
    int64_t Integer(Number number) const;

    /// @throws GenApiError always: the cause, behind the way from the feature to the node
    [[noreturn]] void Fail(const std::string &cause, GC_ERROR code = GC_ERR_ERROR) const;

private:
    struct Place
    {
        NodeId id;
        Aspect aspect;
        const Property *expression;

        // clang-tidy 14 takes the 0 in the body that the compiler makes for a null pointer.
        // NOLINTNEXTLINE(modernize-use-nullptr)
        friend auto operator<=>(const Place &, const Place &) = default;
    };

    std::string Label(const Place &place) const;
    std::string WayFrom(size_t first) const;

    GraphState &m_state;
    const NodeId m_feature;
    std::vector<Place> m_way;
    std::map<Place, Number> m_numbers;
    std::map<NodeId, std::string> m_failures;
    int m_steps = 0;
};

} // namespace GenTL::internal::genapi
