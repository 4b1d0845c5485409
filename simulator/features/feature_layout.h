#pragma once

#include "simulator/features/feature.h"

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

/// A list of features with the addresses of their registers.
struct FeatureLayout
{
    struct Place
    {
        Feature feature;
        uint64_t address;
        std::vector<BitRegister> bitRegisters; ///< none without conditional entries
        std::vector<EntryBit> available;       ///< of each entry; empty without conditional entries
        std::vector<EntryBit> implemented;     ///< the same
    };

    std::vector<Place> places; ///< in the order of the list

    explicit FeatureLayout(std::vector<Feature> features);

    bool Has(const std::string &name) const;
    /// @throws std::logic_error no feature has this name
    const Place &Find(const std::string &name) const;
};

} // namespace GenTL::simulator
