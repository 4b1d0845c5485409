#pragma once

#include "simulator/features/feature.h"
#include "simulator/features/register_form.h"

namespace GenTL::simulator
{

/// How the description reads a bit of a register.
enum class BitForm
{
    ShortFormula,     ///< "BITS & 1"
    Formula,          ///< "(BITS >> 3) & 1"
    BracketedFormula, ///< "((BITS >> 3) & 1)"
    StructEntry,
    Plain ///< the register itself
};

/// A read-only register whose bits say which entries of an enumeration exist.
struct BitRegister
{
    std::string name;
    uint64_t address;
    size_t length;
    bool bigEndian;
    bool isStruct;
};

/// Where the bit of an entry is.
struct EntryBit
{
    BitForm form;
    size_t registerIndex; ///< in the bit registers of the place
    unsigned bit;         ///< 0 is the lowest
};

/// A register at an address of the camera's choice, for a camera with a description of its own.
struct FixedRegister
{
    std::string feature;
    uint64_t address;
    RegisterForm form = {};
};

/// A list of features with the addresses of their registers.
struct FeatureLayout
{
    struct Place
    {
        Feature feature;
        std::optional<uint64_t> address; ///< none: no register shows the feature
        RegisterForm form = {};
        std::vector<BitRegister> bitRegisters; ///< none without conditional entries
        std::vector<EntryBit> available;       ///< of each entry; empty without conditional entries
        std::vector<EntryBit> implemented;     ///< the same
    };

    std::vector<Place> places; ///< in the order of the list

    /// Chooses the addresses.
    explicit FeatureLayout(std::vector<Feature> features);
    /// Only the features that `registers` names have a register.
    FeatureLayout(std::vector<Feature> features, const std::vector<FixedRegister> &registers);

    bool Has(const std::string &name) const;
    /// @throws std::logic_error no feature has this name
    const Place &Find(const std::string &name) const;
};

} // namespace GenTL::simulator
