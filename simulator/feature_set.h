#ifndef QVR_SIMULATOR_FEATURE_SET_H
#define QVR_SIMULATOR_FEATURE_SET_H

#include "feature.h"

#include <map>
#include <mutex>

namespace GenTL::simulator
{

/** How the description asks for a bit of a register. */
enum class BitForm
{
    ShortFormula,     /**< "BITS & 1" */
    Formula,          /**< "(BITS >> 3) & 1" */
    BracketedFormula, /**< "((BITS >> 3) & 1)" */
    StructEntry,
    Plain /**< the register itself */
};

/** A read-only register whose bits tell which entries of an enumeration there are. */
struct BitRegister
{
    std::string name;
    uint64_t address;
    size_t length;
    bool bigEndian;
    bool isStruct;
};

/** Where the bit of an entry is. */
struct EntryBit
{
    BitForm form;
    size_t registerIndex; /**< in the bit registers of the place */
    unsigned bit;         /**< 0 is the lowest */
};

/** A list of features with their place in a register space. */
struct FeatureLayout
{
    struct Place
    {
        Feature feature;
        uint64_t address;
        std::vector<BitRegister> bitRegisters; /**< none without conditional entries */
        std::vector<EntryBit> available;       /**< of each entry; empty without conditional entries */
        std::vector<EntryBit> implemented;     /**< the same */
    };

    std::vector<Place> places; /**< in the order of the list */

    explicit FeatureLayout(std::vector<Feature> features);

    bool Has(const std::string &name) const;
    const Place &Find(const std::string &name) const;
};

/** What a feature has at some time, with the values of all values of its selector. */
struct FeatureValue
{
    std::vector<uint8_t> bytes;
    std::map<int64_t, std::vector<uint8_t>> bank;
};

/**
 * The features of one module at run time: values by name for the module, registers for the consumer.
 *
 * A consumer's write is checked against the feature's data: limits, increment, entries, lock. A selected
 * feature keeps one value for each value of its selector, and its register shows the one selected now.
 * Made and owned by a module. Any thread may call; one recursive lock serialises the calls, and the hooks
 * run while it is held.
 */
class FeatureSet
{
public:
    /** Address of the description, above all features. */
    static constexpr uint64_t descriptionAddress = 0x100000;

    FeatureSet(const FeatureLayout &layout, const std::string &description);

    /** The lock of all calls, to make several of them one step. */
    std::unique_lock<std::recursive_mutex> Lock() const;

    int64_t Integer(const std::string &name) const;
    double Float(const std::string &name) const;
    std::string Text(const std::string &name) const;
    bool IsTrue(const std::string &name) const { return Integer(name) != 0; }

    /** Values set by the module itself are not checked. */
    void SetInteger(const std::string &name, int64_t value);
    void SetFloat(const std::string &name, double value);
    void SetText(const std::string &name, const std::string &value);
    /** Fills the rest with zeros. */
    void SetBytes(const std::string &name, std::span<const uint8_t> value);

    /** Which entries of a feature with conditional entries can not be chosen now; the absent ones never can.
     */
    void SetUnavailable(const std::string &name, std::set<std::string> entries);

    /** The value of a selected feature for one value of its selector. */
    int64_t Selected(const std::string &name, int64_t selector) const;
    void SetSelected(const std::string &name, int64_t selector, int64_t value);
    void SetSelectedText(const std::string &name, int64_t selector, const std::string &value);

    /** All that a feature holds, to be put back. Neither checks nor hooks take part. */
    FeatureValue Value(const std::string &name) const;
    void SetValue(const std::string &name, const FeatureValue &value);

    /** `source` gives the value at each read by a consumer. */
    void ComputeOnRead(const std::string &name, std::function<int64_t()> source);
    /** `check` may refuse a consumer's write of this value, after the feature's own limits. */
    void CheckOnWrite(const std::string &name, std::function<void(int64_t)> check);
    /** `action` runs after a consumer's write. */
    void AfterWrite(const std::string &name, std::function<void()> action);
    /** `action` runs after a consumer's write of any feature, behind the one of that feature. */
    void AfterAnyWrite(std::function<void()> action);

    void Read(uint64_t address, std::span<uint8_t> out);
    void Write(uint64_t address, std::span<const uint8_t> in);

private:
    struct Node
    {
        FeatureLayout::Place place;
        std::map<int64_t, std::vector<uint8_t>> bank; /**< of a selected feature: value by selector */
        std::set<std::string> unavailable;            /**< entries that can not be chosen at the moment */
        std::function<int64_t()> source;
        std::function<void(int64_t)> check;
        std::function<void()> action;
    };

    void AddFeature(const FeatureLayout::Place &place);
    void StoreEntryBits(const Node &node);
    Node &Find(const std::string &name);
    const Node &Find(const std::string &name) const;
    std::vector<uint8_t> &Bytes(Node &node);
    std::vector<uint8_t> &Banked(Node &node, int64_t selector);
    void Refresh(Node &node, std::vector<uint8_t> &value);
    void Check(const Node &node, const std::vector<uint8_t> &value) const;
    void CheckInteger(const Feature &feature, int64_t value) const;
    void CheckEntry(const Node &node, int64_t value) const;
    void Written(Node &node);
    int64_t Evaluate(const Limit &limit) const;

    mutable std::recursive_mutex m_mutex;
    mutable RegisterSpace m_registers;
    std::map<std::string, Node> m_nodes;
    std::function<void()> m_afterAny;
};

} // namespace GenTL::simulator

#endif
