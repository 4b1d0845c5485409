#include "simulator/features/feature_layout.h"

#include <algorithm>
#include <stdexcept>

namespace GenTL::simulator
{

namespace
{

// The ports of chunks have their values at address 0. A reader that mistakes a chunk's port for the camera's
// must not find a register of the camera there.
constexpr uint64_t firstAddress = 0x1000;

uint64_t AlignUp(uint64_t address)
{
    return (address + 3) & ~uint64_t{3};
}

/// A formula reads the bit for "implemented", an entry of a StructReg the bit for "available".
void AddBits(FeatureLayout::Place &place)
{
    const auto &feature = place.feature;
    const auto count = static_cast<unsigned>(feature.entries.size());
    const size_t length = count > 32 ? 8 : 4;
    place.bitRegisters = {{feature.name + "AvailableReg", 0, length, false, true},
                          {feature.name + "ImplementedReg", 0, length, false, false}};
    for (unsigned i = 0; i < count; ++i)
    {
        place.available.push_back({BitForm::StructEntry, 0, i});
        place.implemented.push_back({BitForm::Formula, 1, i});
    }
}

/// Gives each entry another form, in registers of either byte order. For up to 16 entries.
void AddMixedBits(FeatureLayout::Place &place)
{
    struct Kind
    {
        BitForm form;
        bool bigEndian;
        bool isShared; ///< shares its register with other entries
    };
    constexpr Kind kinds[] = {{BitForm::ShortFormula, false, false},   {BitForm::Formula, false, true},
                              {BitForm::BracketedFormula, true, true}, {BitForm::StructEntry, false, true},
                              {BitForm::Formula, true, true},          {BitForm::Plain, true, false},
                              {BitForm::ShortFormula, true, false}};
    constexpr size_t littleShared = 0, bigShared = 1, structShared = 2;
    constexpr unsigned firstImplementedBit = 16;
    const auto &feature = place.feature;
    place.bitRegisters = {{feature.name + "LittleBitsReg", 0, 4, false, false},
                          {feature.name + "BigBitsReg", 0, 4, true, false},
                          {feature.name + "StructBitsReg", 0, 4, false, true}};
    const auto bitOf = [&](const Kind &kind, unsigned bit, const std::string &name) -> EntryBit
    {
        if (kind.isShared)
        {
            const bool isStruct = kind.form == BitForm::StructEntry;
            return {kind.form, isStruct ? structShared : kind.bigEndian ? bigShared : littleShared, bit};
        }
        place.bitRegisters.push_back({name, 0, 4, kind.bigEndian, false});
        return {kind.form, place.bitRegisters.size() - 1, 0};
    };
    for (unsigned i = 0; i < feature.entries.size(); ++i)
    {
        const std::string prefix = feature.name + feature.entries[i].name;
        place.available.push_back(bitOf(kinds[i % std::size(kinds)], i, prefix + "AvailableReg"));
        place.implemented.push_back(
            bitOf(kinds[(i + 3) % std::size(kinds)], i + firstImplementedBit, prefix + "ImplementedReg"));
    }
}

} // namespace

FeatureLayout::FeatureLayout(std::vector<Feature> features)
{
    uint64_t next = firstAddress;
    const auto take = [&next](size_t length)
    {
        const uint64_t address = next;
        next = AlignUp(next + length);
        return address;
    };
    for (auto &feature : features)
    {
        Place place;
        place.feature = std::move(feature);
        place.address = take(place.feature.length);
        if (place.feature.conditionalEntries)
        {
            place.feature.mixedConditions ? AddMixedBits(place) : AddBits(place);
        }
        for (auto &bits : place.bitRegisters)
        {
            bits.address = take(bits.length);
        }
        places.push_back(std::move(place));
    }
}

FeatureLayout::FeatureLayout(std::vector<Feature> features, const std::vector<FixedRegister> &registers)
{
    for (auto &feature : features)
    {
        Place place;
        place.feature = std::move(feature);
        const auto found = std::ranges::find(registers, place.feature.name, &FixedRegister::feature);
        if (found != registers.end())
        {
            place.address = found->address;
            place.form = found->form;
        }
        places.push_back(std::move(place));
    }
}

bool FeatureLayout::Has(const std::string &name) const
{
    return std::ranges::any_of(places, [&](const Place &place) { return place.feature.name == name; });
}

const FeatureLayout::Place &FeatureLayout::Find(const std::string &name) const
{
    const auto found =
        std::ranges::find_if(places, [&](const Place &place) { return place.feature.name == name; });
    if (found == places.end())
    {
        throw std::logic_error("No feature " + name);
    }
    return *found;
}

} // namespace GenTL::simulator
