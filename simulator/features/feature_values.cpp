#include "simulator/features/feature_values.h"

#include "simulator/features/raw_value.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// Brings the bit registers of a feature with conditional entries up to date.
void StoreEntryBits(FeatureNode &node)
{
    const auto &place = node.place;
    std::vector<uint64_t> values(place.bitRegisters.size());
    const auto set = [&](const EntryBit &bit, bool isSet)
    { values[bit.registerIndex] |= uint64_t{isSet} << bit.bit; };
    for (size_t i = 0; i < place.available.size(); ++i)
    {
        const auto &entry = place.feature.entries[i].name;
        const bool isImplemented = !place.feature.absentEntries.contains(entry);
        set(place.implemented[i], isImplemented);
        set(place.available[i], isImplemented && !node.unavailable.contains(entry));
    }
    for (size_t i = 0; i < values.size(); ++i)
    {
        EncodeInteger(node.bits[i], static_cast<int64_t>(values[i]));
        if (place.bitRegisters[i].bigEndian)
        {
            std::ranges::reverse(node.bits[i]);
        }
    }
}

std::vector<uint8_t> BytesOf(const FeatureNode &node, const FeatureKey &key)
{
    if (!key.selected)
    {
        return node.value.bytes;
    }
    const auto found = node.value.bank.find(*key.selected);
    return found == node.value.bank.end() ? DefaultBytes(node.place.feature) : found->second;
}

std::vector<uint8_t> &BytesOf(FeatureNode &node, const FeatureKey &key)
{
    if (!key.selected)
    {
        return node.value.bytes;
    }
    return node.value.bank.try_emplace(*key.selected, DefaultBytes(node.place.feature)).first->second;
}

} // namespace

FeatureValues::FeatureValues(const FeatureLayout &layout)
{
    for (const auto &place : layout.places)
    {
        auto &node = m_nodes[place.feature.name];
        node.place = place;
        node.value.bytes = DefaultBytes(place.feature);
        for (const auto &bits : place.bitRegisters)
        {
            node.bits.emplace_back(bits.length);
        }
        StoreEntryBits(node);
    }
}

std::unique_lock<std::recursive_mutex> FeatureValues::Lock() const
{
    return std::unique_lock(m_mutex);
}

int64_t FeatureValues::Integer(const FeatureKey &key) const
{
    const auto lock = Lock();
    const auto &node = m_nodes.at(key.name);
    return node.source ? node.source() : DecodeInteger(BytesOf(node, key));
}

double FeatureValues::Float(const FeatureKey &key) const
{
    const auto lock = Lock();
    return DecodeFloat(BytesOf(m_nodes.at(key.name), key));
}

std::string FeatureValues::Text(const FeatureKey &key) const
{
    const auto lock = Lock();
    return DecodeText(BytesOf(m_nodes.at(key.name), key));
}

void FeatureValues::SetInteger(const FeatureKey &key, int64_t value)
{
    const auto lock = Lock();
    EncodeInteger(BytesOf(m_nodes.at(key.name), key), value);
}

void FeatureValues::SetFloat(const FeatureKey &key, double value)
{
    const auto lock = Lock();
    EncodeFloat(BytesOf(m_nodes.at(key.name), key), value);
}

void FeatureValues::SetText(const FeatureKey &key, const std::string &value)
{
    const auto lock = Lock();
    EncodeText(BytesOf(m_nodes.at(key.name), key), value);
}

void FeatureValues::SetBytes(const FeatureKey &key, std::span<const uint8_t> value)
{
    const auto lock = Lock();
    auto &bytes = BytesOf(m_nodes.at(key.name), key);
    std::ranges::fill(bytes, uint8_t{0});
    std::ranges::copy(value.first(std::min(value.size(), bytes.size())), bytes.begin());
}

FeatureValue FeatureValues::Value(const std::string &name) const
{
    const auto lock = Lock();
    return m_nodes.at(name).value;
}

void FeatureValues::SetValue(const std::string &name, const FeatureValue &value)
{
    const auto lock = Lock();
    m_nodes.at(name).value = value;
}

void FeatureValues::SetUnavailable(const std::string &name, std::set<std::string> entries)
{
    const auto lock = Lock();
    auto &node = m_nodes.at(name);
    node.unavailable = std::move(entries);
    StoreEntryBits(node);
}

void FeatureValues::ComputeOnRead(const std::string &name, std::function<int64_t()> source)
{
    const auto lock = Lock();
    m_nodes.at(name).source = std::move(source);
}

} // namespace GenTL::simulator
