#pragma once

#include "simulator/cameras/camera_control.h"

#include <map>
#include <optional>
#include <vector>

namespace GenTL::simulator
{

/// A file that the camera's file access reads, and writes when it has a capacity.
struct CameraFile
{
    EnumEntry entry;
    std::vector<uint8_t> content;
    size_t capacity = 0; ///< bytes; 0: read only
};

/// The features that access the files of a camera.
std::vector<Feature> FileAccessFeatures(const std::vector<CameraFile> &files);

/// Reads and writes files through these features. What is written lasts until GCCloseLib.
class FileAccess : public CameraControl
{
public:
    FileAccess(const CameraContext &context, std::vector<CameraFile> files);

private:
    /// The number of bytes read or written; none when the operation fails.
    using Result = std::optional<size_t>;

    CameraFile SelectedFile() const;
    void Execute();
    Result Done(int64_t operation);
    Result Open(const CameraFile &file);
    Result Read(const CameraFile &file);
    Result Write(const CameraFile &file);
    Result Delete(const CameraFile &file);
    /// Whether the file is open in this mode.
    bool IsOpen(const CameraFile &file, int64_t mode) const;

    FeatureSet &m_features;
    CameraUnit &m_unit;
    const std::vector<CameraFile> m_files;
    std::map<int64_t, int64_t> m_open; ///< open modes by values of FileSelector
};

} // namespace GenTL::simulator
