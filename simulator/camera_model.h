#ifndef QVR_SIMULATOR_CAMERA_MODEL_H
#define QVR_SIMULATOR_CAMERA_MODEL_H

#include "feature_set.h"
#include "frame_source.h"

#include <functional>
#include <map>
#include <mutex>

namespace GenTL::simulator
{

/** What a chunk of a frame holds. */
enum class ChunkValue
{
    Image,
    FrameId,
    Timestamp,
    ExposureTime,
    Gain,
    ImageChecksum
};

/** A chunk that a camera can send: entry of ChunkSelector, id in the buffer, and what it holds. */
struct Chunk
{
    EnumEntry entry;
    uint64_t id;
    ChunkValue value;
    FeatureKind kind;
    size_t length; /**< bytes; 0 for the image, which has its own */
    std::string toolTip;
};

/** An image that a camera can send beside others: entry of ComponentSelector, and what it holds. */
struct ImageComponent
{
    EnumEntry entry;
    Quantity quantity;
    std::vector<std::string> formats; /**< the default first */
};

/** What the registers of the Scan3d features with a converter are divided by. */
constexpr int64_t scan3dDivisor = 1000;

/** A set of settings that UserSetLoad puts in force, as it comes from the factory: all defaults but these. */
struct UserSet
{
    EnumEntry entry;
    Scan3dValues scan; /**< of 16 bits; formats of fewer bits have larger steps */
};

/** What UserSetSave keeps. */
struct SavedSet
{
    Scan3dValues scan;
    std::map<std::string, FeatureValue> features;
};

/** A file that the camera's file access reads. */
struct CameraFile
{
    EnumEntry entry;
    std::vector<uint8_t> content;
};

/** A camera as data. What it does with its features is the same for all: see Camera. */
struct CameraModel
{
    std::string model;
    std::string serialNumber;
    std::string toolTip;
    size_t interfaceIndex; /**< the interface that it is connected to */
    bool zippedDescription;
    uint32_t ipAddress;
    uint64_t macAddress;
    std::string productGuid;
    std::string versionGuid;
    std::vector<Feature> features;
    std::vector<Chunk> chunks;
    bool hasMosaic = false; /**< has ReverseX and ReverseY, which change the mosaic of its Bayer formats */
    std::vector<ImageComponent> components; /**< none for a camera of one kind of image */
    std::vector<UserSet> userSets;          /**< the default first; the camera has the Scan3d features then */
    std::vector<CameraFile> files;          /**< the camera has the file access features then */
    std::function<std::unique_ptr<FrameSource>()> makeSource;

    /** "OVRA-M5 (SIM0001)"; also the id of the device is made from the serial number. */
    std::string DisplayName() const { return model + " (" + serialNumber + ")"; }
    std::string Id() const { return "SIM-" + serialNumber; }
};

/**
 * One simulated camera, connected from GCInitLib to GCCloseLib: what outlives a DevClose. Owned by the
 * Producer. Any thread may call.
 */
class CameraUnit
{
public:
    explicit CameraUnit(const CameraModel &model) : m_model(model) {}

    const CameraModel &Model() const { return m_model; }

    std::string UserName() const
    {
        const std::unique_lock lock(m_mutex);
        return m_userName;
    }

    void SetUserName(std::string name)
    {
        const std::unique_lock lock(m_mutex);
        m_userName = std::move(name);
    }

    /** The value that a feature was left with, until GCCloseLib; 0 at first. */
    int64_t Kept(const std::string &feature) const
    {
        const std::unique_lock lock(m_mutex);
        const auto found = m_kept.find(feature);
        return found == m_kept.end() ? 0 : found->second;
    }

    void Keep(const std::string &feature, int64_t value)
    {
        const std::unique_lock lock(m_mutex);
        m_kept[feature] = value;
    }

    /** What was saved as the user set of this value, until GCCloseLib; none at first. */
    std::optional<SavedSet> Saved(int64_t set) const
    {
        const std::unique_lock lock(m_mutex);
        const auto found = m_saved.find(set);
        return found == m_saved.end() ? std::nullopt : std::optional(found->second);
    }

    void Save(int64_t set, SavedSet content)
    {
        const std::unique_lock lock(m_mutex);
        m_saved[set] = std::move(content);
    }

    /** Keeps something alive until this is called again. */
    void Retire(std::shared_ptr<void> kept)
    {
        const std::unique_lock lock(m_mutex);
        m_retired.swap(kept);
    }

private:
    const CameraModel &m_model;
    mutable std::mutex m_mutex;
    std::string m_userName;
    std::map<std::string, int64_t> m_kept;
    std::map<int64_t, SavedSet> m_saved;
    std::shared_ptr<void> m_retired;
};

constexpr const char *cameraVendor = "QVR";
constexpr const char *cameraVersion = "1.0.0";

/** All cameras there are, in the order in which the interfaces list them. */
const std::vector<CameraModel> &CameraCatalog();

} // namespace GenTL::simulator

#endif
