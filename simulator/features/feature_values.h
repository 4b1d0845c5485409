#pragma once

#include "simulator/features/feature_layout.h"

#include <functional>
#include <map>
#include <mutex>
#include <span>

namespace GenTL::simulator
{

/// Names the value of a feature: the value that is selected now, or the value for one value of its selector.
struct FeatureKey
{
    std::string name;
    std::optional<int64_t> selected;

    // A plain name stands for the value that is selected now.
    FeatureKey(const char *feature) : name(feature) {}
    FeatureKey(std::string feature) : name(std::move(feature)) {}
    FeatureKey(std::string feature, int64_t selector) : name(std::move(feature)), selected(selector) {}
};

/// A copy of all values that a feature has: the one selected now, and one for each value of its selector.
struct FeatureValue
{
    std::vector<uint8_t> bytes;
    std::map<int64_t, std::vector<uint8_t>> bank;
};

/// One feature at run time.
struct FeatureNode
{
    FeatureLayout::Place place;
    FeatureValue value;
    std::set<std::string> unavailable;      ///< entries that cannot be chosen at the moment
    std::vector<uint8_t> shown;             ///< the register, where its form is not plain
    std::vector<std::vector<uint8_t>> bits; ///< the bit registers of the place
    std::function<int64_t()> source;        ///< computes the value; empty for a value that is stored
};

/// The values of a module's features by name, as the module itself reads and sets them: nothing is checked.
///
/// A selected feature has one value for each value of its selector, and one in its register: the value that
/// was selected at the last access. A name that no feature has throws std::out_of_range. Any thread may call;
/// one recursive lock serialises the calls.
class FeatureValues
{
public:
    explicit FeatureValues(const FeatureLayout &layout);

    /// The lock of all calls, to make several of them one step.
    std::unique_lock<std::recursive_mutex> Lock() const;

    int64_t Integer(const FeatureKey &key) const;
    double Float(const FeatureKey &key) const;
    std::string Text(const FeatureKey &key) const;
    bool IsTrue(const FeatureKey &key) const { return Integer(key) != 0; }

    void SetInteger(const FeatureKey &key, int64_t value);
    void SetFloat(const FeatureKey &key, double value);
    void SetText(const FeatureKey &key, const std::string &value);
    /// Fills the rest with zeros.
    void SetBytes(const FeatureKey &key, std::span<const uint8_t> value);

    /// All values of the feature, to be restored by SetValue.
    FeatureValue Value(const std::string &name) const;
    void SetValue(const std::string &name, const FeatureValue &value);

    /// Which entries of a feature with conditional entries cannot be chosen now; the absent ones never can.
    void SetUnavailable(const std::string &name, std::set<std::string> entries);

    /// `source` computes the value at each read.
    void ComputeOnRead(const std::string &name, std::function<int64_t()> source);

protected:
    using Nodes = std::map<std::string, FeatureNode>;

    Nodes &AllNodes() { return m_nodes; }

private:
    mutable std::recursive_mutex m_mutex;
    Nodes m_nodes;
};

} // namespace GenTL::simulator
