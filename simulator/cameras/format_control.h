#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

const Feature &PixelFormatOf(const CameraModel &model);

/// The names in QVR_SIM_PIXEL_FORMATS, between commas. Empty when the camera has none of these formats.
std::set<std::string> WantedFormats(const CameraModel &model);

/// PixelFormat of a camera that sends one image in a frame.
class FormatControl : public CameraControl
{
public:
    explicit FormatControl(const CameraContext &context);

    void Update() override;
    void Contribute(FrameSettings &settings) const override;

protected:
    FeatureSet &Features() const { return m_features; }

private:
    /// The format that the camera can send now in place of `format`; `format` itself when it is available.
    virtual const PixelFormat &SentNow(const PixelFormat &format) const { return format; }

    FeatureSet &m_features;
    const std::set<std::string> m_wanted;       ///< by the environment; empty for all
    std::vector<const PixelFormat *> m_formats; ///< all that the camera has, in the order of the entries
};

/// PixelFormat of a colour camera with ReverseX and ReverseY: the flips change the mosaic of the image, and
/// only the Bayer formats of the present mosaic are available. The flips last until GCCloseLib.
class MosaicFormatControl : public FormatControl
{
public:
    explicit MosaicFormatControl(const CameraContext &context);

    void Contribute(FrameSettings &settings) const override;

private:
    const PixelFormat &SentNow(const PixelFormat &format) const override;
};

} // namespace GenTL::simulator
