#ifndef QVR_SIMULATOR_FILE_ACCESS_H
#define QVR_SIMULATOR_FILE_ACCESS_H

#include "camera_model.h"
#include "feature_set.h"

namespace GenTL::simulator
{

/** The file access features, which read the files of a camera. */
std::vector<Feature> FileAccessFeatures(const std::vector<CameraFile> &files);

/**
 * What these features do. Owned by the camera with the features; it acts in their hooks, so under their lock.
 */
class FileAccess
{
public:
    FileAccess(FeatureSet &features, const std::vector<CameraFile> &files);

private:
    const CameraFile &SelectedFile() const;
    void Execute();
    /** Bytes that were read; none when it can not be. */
    std::optional<size_t> Read();

    FeatureSet &m_features;
    const std::vector<CameraFile> &m_files;
    std::set<int64_t> m_open; /**< values of FileSelector */
};

} // namespace GenTL::simulator

#endif
