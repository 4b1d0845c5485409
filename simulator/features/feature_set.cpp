#include "simulator/features/feature_set.h"

#include "simulator/features/raw_value.h"
#include "simulator/features/write_check.h"

namespace GenTL::simulator
{

FeatureSet::FeatureSet(const FeatureLayout &layout, const std::string &description)
    : FeatureValues(layout), m_description(description.begin(), description.end())
{
    for (auto &[name, node] : AllNodes())
    {
        m_hooks[name] = {};
        AddRegisters(node);
    }
    m_registers.Add({descriptionAddress, &m_description, Access::ReadOnly, {}, {}, {}});
}

void FeatureSet::AddRegisters(FeatureNode &node)
{
    if (!node.place.address)
    {
        return;
    }
    if (node.place.form.IsPlain())
    {
        m_registers.Add({*node.place.address, &node.value.bytes, node.place.feature.access,
                         [this, &node] { Refresh(node); },
                         [this, &node](const std::vector<uint8_t> &value) { Check(node, value); },
                         [this, &node] { Written(node); }});
    }
    else
    {
        AddCodedRegister(node);
    }
    for (size_t i = 0; i < node.bits.size(); ++i)
    {
        m_registers.Add({node.place.bitRegisters[i].address, &node.bits[i], Access::ReadOnly, {}, {}, {}});
    }
}

void FeatureSet::AddCodedRegister(FeatureNode &node)
{
    const auto &form = node.place.form;
    const auto &feature = node.place.feature;
    node.shown.resize(feature.length);
    m_registers.Add({*node.place.address, &node.shown, feature.access,
                     [&, this]
                     {
                         Refresh(node);
                         node.shown = ToRegister(form, feature, node.value.bytes);
                     },
                     [&, this](const std::vector<uint8_t> &bytes)
                     { Check(node, FromRegister(form, feature, bytes)); },
                     [&, this]
                     {
                         node.value.bytes = FromRegister(form, feature, node.shown);
                         Written(node);
                     }});
}

void FeatureSet::CheckOnWrite(const std::string &name, std::function<void(int64_t)> check)
{
    const auto lock = Lock();
    m_hooks.at(name).check = std::move(check);
}

void FeatureSet::AfterWrite(const std::string &name, std::function<void()> action)
{
    const auto lock = Lock();
    m_hooks.at(name).action = std::move(action);
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

void FeatureSet::Refresh(FeatureNode &node)
{
    const auto &selector = node.place.feature.selector;
    if (node.source)
    {
        EncodeInteger(node.value.bytes, node.source());
    }
    else if (!selector.empty())
    {
        const auto selected =
            node.value.bank.try_emplace(Integer(selector), DefaultBytes(node.place.feature));
        node.value.bytes = selected.first->second;
    }
}

void FeatureSet::Check(const FeatureNode &node, const std::vector<uint8_t> &value) const
{
    CheckWrite(*this, node, value);
    const auto &feature = node.place.feature;
    if (const auto &check = m_hooks.at(feature.name).check)
    {
        check(DecodeInteger(value, IsSigned(feature)));
    }
}

void FeatureSet::Written(FeatureNode &node)
{
    const auto &feature = node.place.feature;
    auto &bytes = node.value.bytes;
    if (!feature.selector.empty())
    {
        node.value.bank[Integer(feature.selector)] = bytes;
    }
    const bool acts = feature.kind != FeatureKind::Command || DecodeInteger(bytes) != 0;
    if (feature.kind == FeatureKind::Command)
    {
        EncodeInteger(bytes, 0); // a command that reads as 0 is done
    }
    if (const auto &action = m_hooks.at(feature.name).action; acts && action)
    {
        action();
    }
    if (m_afterAny)
    {
        m_afterAny();
    }
}

} // namespace GenTL::simulator
