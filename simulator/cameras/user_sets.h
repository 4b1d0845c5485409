#pragma once

#include "simulator/cameras/camera_unit.h"

namespace GenTL::simulator
{

/// A user set as it leaves the factory: all features at their defaults, and these values of depth.
struct UserSet
{
    EnumEntry entry;
    Scan3dValues scan; ///< of 16 bits; formats of fewer bits have larger steps
};

/// UserSetLoad and UserSetSave. Owned by DepthOutput. Made after the other controls: the features that it
/// finds are the defaults that a set restores. It acts in hooks of the features, with their lock held.
class UserSets
{
public:
    /// The first set is the default: it is loaded at first and cannot be saved.
    UserSets(const CameraContext &context, std::vector<UserSet> sets);

    /// The values of depth that were last loaded, for 16 bits.
    const Scan3dValues &Scan() const { return m_scan; }

private:
    const UserSet &Selected() const;
    void Load();
    void Save();

    const CameraContext m_context;
    const std::vector<UserSet> m_sets;
    std::map<std::string, FeatureValue> m_factory; ///< defaults of the features that user sets cover
    Scan3dValues m_scan;
};

} // namespace GenTL::simulator
