#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

/// A file that the camera's file access reads.
struct CameraFile
{
    EnumEntry entry;
    std::vector<uint8_t> content;
};

/// The features that read the files of a camera.
std::vector<Feature> FileAccessFeatures(const std::vector<CameraFile> &files);

/// Reads files through these features.
class FileAccess : public CameraControl
{
public:
    FileAccess(const CameraContext &context, std::vector<CameraFile> files);

private:
    const CameraFile &SelectedFile() const;
    void Execute();
    /// The number of bytes read; none when the file is not open or ends before the offset.
    std::optional<size_t> Read();

    FeatureSet &m_features;
    const std::vector<CameraFile> m_files;
    std::set<int64_t> m_open; ///< values of FileSelector
};

} // namespace GenTL::simulator
