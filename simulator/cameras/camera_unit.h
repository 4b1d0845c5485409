#pragma once

#include "simulator/cameras/camera_model.h"

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace GenTL::simulator
{

/// The content of a saved user set.
struct SavedSet
{
    Scan3dValues scan;
    std::map<std::string, FeatureValue> features;
};

/// One simulated camera, connected from GCInitLib to GCCloseLib: everything that outlives a DevClose. Owned
/// by the Producer. Any thread may call.
class CameraUnit
{
public:
    explicit CameraUnit(const CameraModel &model) : m_model(model) {}

    const CameraModel &Model() const { return m_model; }

    std::string UserName() const
    {
        const std::lock_guard lock(m_mutex);
        return m_userName;
    }

    void SetUserName(std::string name)
    {
        const std::lock_guard lock(m_mutex);
        m_userName = std::move(name);
    }

    /// The value last kept for the feature, until GCCloseLib.
    int64_t Kept(const std::string &feature, int64_t atFirst = 0) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_kept.find(feature);
        return found == m_kept.end() ? atFirst : found->second;
    }

    void Keep(const std::string &feature, int64_t value)
    {
        const std::lock_guard lock(m_mutex);
        m_kept[feature] = value;
    }

    /// The content last saved for the user set with this value of UserSetSelector, until GCCloseLib; none at
    /// first.
    std::optional<SavedSet> Saved(int64_t set) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_saved.find(set);
        return found == m_saved.end() ? std::nullopt : std::optional(found->second);
    }

    void Save(int64_t set, SavedSet content)
    {
        const std::lock_guard lock(m_mutex);
        m_saved[set] = std::move(content);
    }

    bool IsPlugged() const { return m_isPlugged; }
    void SetPlugged(bool plugged) { m_isPlugged = plugged; }

    /// The file with this value of FileSelector as it was written last, until GCCloseLib; none at first.
    std::optional<std::vector<uint8_t>> File(int64_t selected) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_files.find(selected);
        return found == m_files.end() ? std::nullopt : std::optional(found->second);
    }

    void KeepFile(int64_t selected, std::vector<uint8_t> content)
    {
        const std::lock_guard lock(m_mutex);
        m_files[selected] = std::move(content);
    }

    /// Keeps `kept` alive until the next call.
    void Retire(std::shared_ptr<void> kept)
    {
        const std::lock_guard lock(m_mutex);
        m_retired.swap(kept);
    }

private:
    const CameraModel &m_model;
    mutable std::mutex m_mutex;
    std::string m_userName;
    std::map<std::string, int64_t> m_kept;
    std::map<int64_t, SavedSet> m_saved;
    std::map<int64_t, std::vector<uint8_t>> m_files;
    std::shared_ptr<void> m_retired;
    std::atomic<bool> m_isPlugged = true;
};

} // namespace GenTL::simulator
