#pragma once

#include "simulator/cameras/user_sets.h"

namespace GenTL::simulator
{

/// The registers of the Scan3d features with a converter hold the value times this.
constexpr int64_t scan3dDivisor = 1000;

/// Fits values for 16 bits to a format. Where they do not fit, steps larger by a power of two cover the same
/// depth.
Scan3dValues InFormat(const Scan3dValues &scan, const PixelFormat &format);

/// The Scan3d features and the noise of a depth camera. The features show the values of the user set in
/// force, in the present format of the range.
class DepthOutput : public CameraControl
{
public:
    /// `range` is the value of ComponentSelector for the range. This control comes last in the list of
    /// controls, as UserSets requires.
    DepthOutput(const CameraContext &context, int64_t range, std::vector<UserSet> sets);

    void Update() override;
    void Contribute(FrameSettings &settings) const override;

private:
    Scan3dValues ReadScan() const;
    double NoiseOf(Quantity quantity) const;

    FeatureSet &m_features;
    const int64_t m_range;
    UserSets m_userSets;
};

} // namespace GenTL::simulator
