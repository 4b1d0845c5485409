#ifndef QVR_SIMULATOR_CAMERA_H
#define QVR_SIMULATOR_CAMERA_H

#include "depth_replay.h"
#include "file_access.h"
#include "frame.h"
#include "module.h"

#include <optional>

namespace GenTL::simulator
{

/**
 * An opened camera: the remote device module. Made by IFOpenDevice with all features at their defaults,
 * and closed with its device. It decides which frames are sent; the stream sends them.
 *
 * Any thread may call. The listener is called with the camera's lock held.
 */
class Camera : public Module
{
public:
    Camera(HandleTable &handles, CameraUnit &unit, bool writable);

    const CameraModel &Model() const { return m_unit.Model(); }

    /** The next frame to send, or none when the camera is not acquiring. */
    std::optional<FrameOrder> NextFrame();

    /** Whether AcquisitionStart is in force. */
    bool IsAcquiring() const;

    /** Frames in a second; 0 for no limit. */
    double FrameRate() const;

    size_t PayloadSize() const;

    /** Makes sources of the camera's images. Fails when what the environment wants replayed can not be. */
    std::function<std::unique_ptr<FrameSource>()> Sources() const;

    /** `listener` is told when the camera starts, stops or changes its rate. */
    void SetListener(const void *owner, std::function<void()> listener);
    /** Ends that, if the listener is still the owner's. */
    void RemoveListener(const void *owner);

private:
    bool IsWritable() const override { return m_writable; }
    void ConnectFeatures();
    void OnClose() override { StopAcquisition(); }
    void TellListener();
    /** Whether the image layout can not be changed now. */
    bool IsFrozen() const;
    const Chunk &ImageChunk() const;
    void StartAcquisition();
    void StopAcquisition();
    void Update();
    void UpdatePixelFormats();
    void UpdateComponentFormats();
    void ConnectDepth();
    void ShowReplayedSensor();
    void ConnectUserSets();
    const UserSet &SelectedUserSet() const;
    void LoadUserSet();
    void SaveUserSet();
    void ShowScan3dValues();
    std::vector<FramePart> ReadParts(const ImageSettings &common) const;
    Scan3dValues ReadScan3dValues() const;
    double NoiseOf(Quantity quantity) const;
    bool IsReversed(const char *feature) const;
    void FitRegion(const char *size, const char *offset, const char *sizeMax, int64_t sensor, int64_t step);
    FrameSettings ReadSettings() const;
    std::vector<Chunk> EnabledChunks() const;

    CameraUnit &m_unit;
    const bool m_writable;
    const std::set<std::string> m_wantedFormats; /**< by the environment; empty for all */

    const std::optional<DepthReplay> m_depthReplay; /**< of depth cameras, by the environment */
    const std::vector<UserSet> m_userSets;          /**< those of the model or of the replay */

    std::vector<CameraFile> m_fileContents;
    std::unique_ptr<FileAccess> m_files; /**< none for a camera without files */

    std::map<std::string, FeatureValue> m_factory; /**< of the features that user sets cover */

    // Guarded by the lock of the features.
    Scan3dValues m_scan{}; /**< of the user set in force, for 16 bits */
    const void *m_listenerOwner = nullptr;
    std::function<void()> m_listener;
    std::shared_ptr<const FrameSettings> m_settings;
    bool m_acquiring = false;
    uint64_t m_sent = 0;      /**< frames since AcquisitionStart */
    uint64_t m_remaining = 0; /**< frames until the acquisition ends by itself */
};

} // namespace GenTL::simulator

#endif
