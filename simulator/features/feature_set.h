#pragma once

#include "simulator/features/feature_values.h"
#include "simulator/features/register_space.h"

namespace GenTL::simulator
{

/// The features of one module at run time: values by name for the module, registers for the consumer.
///
/// A consumer's write is checked against the feature's data, then by the module's own check. The register of
/// a selected feature shows the value that is selected now. Made and owned by a module. Any thread may call;
/// the lock of the values serialises the calls, and the hooks run while it is held.
class FeatureSet : public FeatureValues
{
public:
    /// Address of the description, above all features.
    static constexpr uint64_t descriptionAddress = 0x100000;

    FeatureSet(const FeatureLayout &layout, const std::string &description);

    /// `check` may refuse a consumer's write of this value, after the feature's own limits.
    void CheckOnWrite(const std::string &name, std::function<void(int64_t)> check);
    /// `action` runs after a consumer's write.
    void AfterWrite(const std::string &name, std::function<void()> action);
    /// `action` runs after a consumer's write of any feature, after the action of that feature.
    void AfterAnyWrite(std::function<void()> action);

    // These throw as RegisterSpace and CheckWrite do.
    void Read(uint64_t address, std::span<uint8_t> out);
    void Write(uint64_t address, std::span<const uint8_t> in);

private:
    struct Hooks
    {
        std::function<void(int64_t)> check;
        std::function<void()> action;
    };

    void AddRegisters(FeatureNode &node);
    /// A register whose bytes are not those of the value.
    void AddCodedRegister(FeatureNode &node);
    void Refresh(FeatureNode &node);
    void Check(const FeatureNode &node, const std::vector<uint8_t> &value) const;
    void Written(FeatureNode &node);

    std::vector<uint8_t> m_description;
    RegisterSpace m_registers;
    std::map<std::string, Hooks> m_hooks; ///< of every feature
    std::function<void()> m_afterAny;
};

} // namespace GenTL::simulator
