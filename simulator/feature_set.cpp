#include "feature_set.h"

#include "error.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace GenTL::simulator
{

namespace
{

// Chunk values live at address 0 of their own ports; a reader that knows no ports must not take them for
// the camera's registers.
constexpr uint64_t firstAddress = 0x1000;

uint64_t AlignUp(uint64_t address)
{
    return (address + 3) & ~uint64_t{3};
}

int64_t DecodeInteger(const std::vector<uint8_t> &bytes, bool isSigned)
{
    uint64_t value = 0;
    std::memcpy(&value, bytes.data(), std::min<size_t>(bytes.size(), sizeof value));
    if (isSigned && bytes.size() == 4)
    {
        return static_cast<int32_t>(value);
    }
    return static_cast<int64_t>(value);
}

void EncodeInteger(std::vector<uint8_t> &bytes, int64_t value)
{
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    std::memcpy(bytes.data(), &value, std::min<size_t>(bytes.size(), sizeof value));
}

double DecodeFloat(const std::vector<uint8_t> &bytes)
{
    return std::bit_cast<float>(static_cast<uint32_t>(DecodeInteger(bytes, false)));
}

void EncodeText(std::vector<uint8_t> &bytes, const std::string &text)
{
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    std::copy_n(text.begin(), std::min(text.size(), bytes.size() - 1), bytes.begin());
}

std::vector<uint8_t> DefaultBytes(const Feature &feature)
{
    std::vector<uint8_t> bytes(feature.length);
    if (feature.kind == FeatureKind::String)
    {
        EncodeText(bytes, feature.textDefault);
    }
    else if (feature.kind == FeatureKind::Float)
    {
        EncodeInteger(bytes, std::bit_cast<int32_t>(static_cast<float>(feature.floatDefault)));
    }
    else
    {
        EncodeInteger(bytes, feature.integerDefault);
    }
    return bytes;
}

/** Whether an entry is implemented is a formula over a register, whether it is available a struct's entry. */
void AddBits(FeatureLayout::Place &place)
{
    const Feature &feature = place.feature;
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

/** Each entry in another form, in registers of either byte order; up to 16 entries. */
void AddMixedBits(FeatureLayout::Place &place)
{
    struct Kind
    {
        BitForm form;
        bool bigEndian;
        bool isShared; /**< with other entries, else a register of its own */
    };
    constexpr Kind kinds[] = {{BitForm::ShortFormula, false, false},   {BitForm::Formula, false, true},
                              {BitForm::BracketedFormula, true, true}, {BitForm::StructEntry, false, true},
                              {BitForm::Formula, true, true},          {BitForm::Plain, true, false},
                              {BitForm::ShortFormula, true, false}};
    constexpr size_t littleShared = 0, bigShared = 1, structShared = 2;
    constexpr unsigned firstImplementedBit = 16;
    const Feature &feature = place.feature;
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

[[noreturn]] void RefuseValue(const Feature &feature, const std::string &value)
{
    throw Error(GC_ERR_INVALID_VALUE, "Value " + value + " is not allowed for " + feature.name);
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
    for (Feature &feature : features)
    {
        Place place;
        place.feature = std::move(feature);
        place.address = take(place.feature.length);
        if (place.feature.conditionalEntries)
        {
            place.feature.mixedConditions ? AddMixedBits(place) : AddBits(place);
        }
        for (BitRegister &bits : place.bitRegisters)
        {
            bits.address = take(bits.length);
        }
        places.push_back(std::move(place));
    }
}

bool FeatureLayout::Has(const std::string &name) const
{
    return std::any_of(places.begin(), places.end(),
                       [&](const Place &place) { return place.feature.name == name; });
}

const FeatureLayout::Place &FeatureLayout::Find(const std::string &name) const
{
    const auto found = std::find_if(places.begin(), places.end(),
                                    [&](const Place &place) { return place.feature.name == name; });
    if (found == places.end())
    {
        throw std::logic_error("No feature " + name);
    }
    return *found;
}

FeatureSet::FeatureSet(const FeatureLayout &layout, const std::string &description)
{
    for (const FeatureLayout::Place &place : layout.places)
    {
        AddFeature(place);
    }
    m_registers.Add({descriptionAddress,
                     std::vector<uint8_t>(description.begin(), description.end()),
                     Access::ReadOnly,
                     {},
                     {},
                     {}});
}

void FeatureSet::AddFeature(const FeatureLayout::Place &place)
{
    Node &node = m_nodes[place.feature.name];
    node.place = place;
    m_registers.Add({place.address, DefaultBytes(place.feature), place.feature.access,
                     [this, &node](std::vector<uint8_t> &value) { Refresh(node, value); },
                     [this, &node](const std::vector<uint8_t> &value) { Check(node, value); },
                     [this, &node] { Written(node); }});
    for (const BitRegister &bits : place.bitRegisters)
    {
        m_registers.Add({bits.address, std::vector<uint8_t>(bits.length), Access::ReadOnly, {}, {}, {}});
    }
    StoreEntryBits(node);
}

void FeatureSet::StoreEntryBits(const Node &node)
{
    const FeatureLayout::Place &place = node.place;
    std::vector<uint64_t> values(place.bitRegisters.size());
    const auto set = [&](const EntryBit &bit, bool isSet)
    { values[bit.registerIndex] |= uint64_t{isSet} << bit.bit; };
    for (size_t i = 0; i < place.available.size(); ++i)
    {
        const std::string &entry = place.feature.entries[i].name;
        const bool isImplemented = !place.feature.absentEntries.contains(entry);
        set(place.implemented[i], isImplemented);
        set(place.available[i], isImplemented && !node.unavailable.contains(entry));
    }
    for (size_t i = 0; i < values.size(); ++i)
    {
        std::vector<uint8_t> &bytes = m_registers.At(place.bitRegisters[i].address).value;
        EncodeInteger(bytes, static_cast<int64_t>(values[i]));
        if (place.bitRegisters[i].bigEndian)
        {
            std::reverse(bytes.begin(), bytes.end());
        }
    }
}

void FeatureSet::SetUnavailable(const std::string &name, std::set<std::string> entries)
{
    const auto lock = Lock();
    Node &node = Find(name);
    node.unavailable = std::move(entries);
    StoreEntryBits(node);
}

std::unique_lock<std::recursive_mutex> FeatureSet::Lock() const
{
    return std::unique_lock(m_mutex);
}

FeatureSet::Node &FeatureSet::Find(const std::string &name)
{
    return m_nodes.at(name);
}

const FeatureSet::Node &FeatureSet::Find(const std::string &name) const
{
    return m_nodes.at(name);
}

std::vector<uint8_t> &FeatureSet::Bytes(Node &node)
{
    std::vector<uint8_t> &bytes = m_registers.At(node.place.address).value;
    return bytes;
}

std::vector<uint8_t> &FeatureSet::Banked(Node &node, int64_t selector)
{
    return node.bank.try_emplace(selector, DefaultBytes(node.place.feature)).first->second;
}

int64_t FeatureSet::Integer(const std::string &name) const
{
    const auto lock = Lock();
    const Node &node = Find(name);
    if (node.source)
    {
        return node.source();
    }
    return DecodeInteger(m_registers.At(node.place.address).value, false);
}

double FeatureSet::Float(const std::string &name) const
{
    const auto lock = Lock();
    return DecodeFloat(m_registers.At(Find(name).place.address).value);
}

std::string FeatureSet::Text(const std::string &name) const
{
    const auto lock = Lock();
    const std::vector<uint8_t> &bytes = m_registers.At(Find(name).place.address).value;
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

void FeatureSet::SetInteger(const std::string &name, int64_t value)
{
    const auto lock = Lock();
    EncodeInteger(Bytes(Find(name)), value);
}

void FeatureSet::SetFloat(const std::string &name, double value)
{
    const auto lock = Lock();
    EncodeInteger(Bytes(Find(name)), std::bit_cast<int32_t>(static_cast<float>(value)));
}

void FeatureSet::SetBytes(const std::string &name, std::span<const uint8_t> value)
{
    const auto lock = Lock();
    std::vector<uint8_t> &bytes = Bytes(Find(name));
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    std::copy_n(value.begin(), std::min(value.size(), bytes.size()), bytes.begin());
}

void FeatureSet::SetText(const std::string &name, const std::string &value)
{
    const auto lock = Lock();
    EncodeText(Bytes(Find(name)), value);
}

int64_t FeatureSet::Selected(const std::string &name, int64_t selector) const
{
    const auto lock = Lock();
    const Node &node = Find(name);
    const auto found = node.bank.find(selector);
    return found == node.bank.end() ? node.place.feature.integerDefault : DecodeInteger(found->second, false);
}

void FeatureSet::SetSelected(const std::string &name, int64_t selector, int64_t value)
{
    const auto lock = Lock();
    EncodeInteger(Banked(Find(name), selector), value);
}

void FeatureSet::SetSelectedText(const std::string &name, int64_t selector, const std::string &value)
{
    const auto lock = Lock();
    EncodeText(Banked(Find(name), selector), value);
}

FeatureValue FeatureSet::Value(const std::string &name) const
{
    const auto lock = Lock();
    const Node &node = Find(name);
    return {m_registers.At(node.place.address).value, node.bank};
}

void FeatureSet::SetValue(const std::string &name, const FeatureValue &value)
{
    const auto lock = Lock();
    Node &node = Find(name);
    Bytes(node) = value.bytes;
    node.bank = value.bank;
}

void FeatureSet::ComputeOnRead(const std::string &name, std::function<int64_t()> source)
{
    const auto lock = Lock();
    Find(name).source = std::move(source);
}

void FeatureSet::CheckOnWrite(const std::string &name, std::function<void(int64_t)> check)
{
    const auto lock = Lock();
    Find(name).check = std::move(check);
}

void FeatureSet::AfterWrite(const std::string &name, std::function<void()> action)
{
    const auto lock = Lock();
    Find(name).action = std::move(action);
}

void FeatureSet::AfterAnyWrite(std::function<void()> action)
{
    const auto lock = Lock();
    m_afterAny = std::move(action);
}

void FeatureSet::Read(uint64_t address, std::span<uint8_t> out)
{
    const auto lock = Lock();
    m_registers.Read(address, out);
}

void FeatureSet::Write(uint64_t address, std::span<const uint8_t> in)
{
    const auto lock = Lock();
    m_registers.Write(address, in);
}

void FeatureSet::Refresh(Node &node, std::vector<uint8_t> &value)
{
    if (node.source)
    {
        EncodeInteger(value, node.source());
    }
    else if (!node.place.feature.selector.empty())
    {
        value = Banked(node, Integer(node.place.feature.selector));
    }
}

int64_t FeatureSet::Evaluate(const Limit &limit) const
{
    if (limit.number)
    {
        return *limit.number;
    }
    return Integer(limit.feature) - (limit.minus.empty() ? 0 : Integer(limit.minus));
}

void FeatureSet::CheckInteger(const Feature &feature, int64_t value) const
{
    const int64_t low = feature.minimum ? Evaluate(*feature.minimum) : INT64_MIN;
    const int64_t high = feature.maximum ? Evaluate(*feature.maximum) : INT64_MAX;
    const int64_t origin = feature.minimum ? low : 0;
    if (value < low || value > high || (value - origin) % feature.increment != 0)
    {
        RefuseValue(feature, std::to_string(value));
    }
}

void FeatureSet::CheckEntry(const Node &node, int64_t value) const
{
    const Feature &feature = node.place.feature;
    const auto found = std::find_if(feature.entries.begin(), feature.entries.end(),
                                    [&](const EnumEntry &e) { return e.value == value; });
    if (found == feature.entries.end())
    {
        RefuseValue(feature, std::to_string(value));
    }
    if (feature.absentEntries.contains(found->name) || node.unavailable.contains(found->name))
    {
        RefuseValue(feature, found->name);
    }
}

void FeatureSet::Check(const Node &node, const std::vector<uint8_t> &value) const
{
    const Feature &feature = node.place.feature;
    if (!feature.lock.empty() && IsTrue(feature.lock))
    {
        throw Error(GC_ERR_ACCESS_DENIED, feature.name + " is locked while " + feature.lock + " is not 0");
    }
    if (feature.kind == FeatureKind::String || feature.kind == FeatureKind::Bytes)
    {
        return;
    }
    if (feature.kind == FeatureKind::Float)
    {
        const double number = DecodeFloat(value);
        const bool inRange = !feature.floatRange ||
                             (number >= feature.floatRange->first && number <= feature.floatRange->second);
        if (!std::isfinite(number) || !inRange)
        {
            RefuseValue(feature, std::to_string(number));
        }
        return;
    }
    const int64_t number = DecodeInteger(value, feature.kind == FeatureKind::Integer && feature.minimum &&
                                                    feature.minimum->number.value_or(0) < 0);
    if (feature.kind == FeatureKind::Enumeration)
    {
        CheckEntry(node, number);
    }
    else if (feature.kind == FeatureKind::Integer)
    {
        CheckInteger(feature, number);
    }
    else if (number < 0 || number > 1)
    {
        RefuseValue(feature, std::to_string(number));
    }
    if (node.check)
    {
        node.check(number);
    }
}

void FeatureSet::Written(Node &node)
{
    const Feature &feature = node.place.feature;
    std::vector<uint8_t> &bytes = Bytes(node);
    if (!feature.selector.empty())
    {
        Banked(node, Integer(feature.selector)) = bytes;
    }
    const bool acts = feature.kind != FeatureKind::Command || DecodeInteger(bytes, false) != 0;
    if (feature.kind == FeatureKind::Command)
    {
        EncodeInteger(bytes, 0); // reads back as done
    }
    if (acts && node.action)
    {
        node.action();
    }
    if (m_afterAny)
    {
        m_afterAny();
    }
}

} // namespace GenTL::simulator
