#include "consumer/feature_settings.h"

#include "consumer/setting_access.h"
#include "consumer/setting_places.h"
#include "port/proxy_module.h"

#include <fmt/format.h>

#include <exception>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace gentlctl
{

namespace
{

/// Sets selectors, and leaves them as they were when it is destroyed.
class Selectors
{
public:
    explicit Selectors(SettingAccess &access) : m_access(access) {}
    Selectors(const Selectors &) = delete;
    Selectors &operator=(const Selectors &) = delete;
    ~Selectors()
    {
        for (const auto &[selector, value] : m_before)
        {
            GenTL::internal::CloseQuietly([&, &name = selector, &before = value] { Set(name, before); });
        }
    }

    void Select(const std::string &selector, const std::string &value)
    {
        if (!m_known.contains(selector))
        {
            m_before.push_back({selector, m_access.Read(selector)});
            m_known.insert(selector);
        }
        Set(selector, value);
    }

private:
    void Set(const std::string &selector, const std::string &value)
    {
        if (m_access.Read(selector) != value)
        {
            m_access.Write(selector, value);
        }
    }

    SettingAccess &m_access;
    std::set<std::string> m_known;
    std::vector<Selection> m_before; ///< in the order of their use: an outer selector before an inner one
};

/// Reads the settings of a module.
class SettingReader
{
public:
    explicit SettingReader(SettingAccess &access) : m_access(access), m_selectors(access) {}

    SavedSettings Run()
    {
        for (const auto &place : SettingPlacesOf(m_access.Description()))
        {
            m_combinations = 0;
            Try({place.feature, {}, {}}, [&](const Setting &setting) { Visit(place, setting); });
        }
        return std::move(m_saved);
    }

private:
    static constexpr size_t mostCombinations = 20'000;

    template <typename Action>
    void Try(const Setting &setting, Action action)
    {
        try
        {
            action(setting);
        }
        catch (const std::exception &exception)
        {
            m_saved.failures.push_back({setting, {}, exception.what()});
        }
    }

    /// Reads the feature for all values of the selectors that `setting` does not name yet.
    void Visit(const SettingPlace &place, const Setting &setting)
    {
        const auto depth = setting.selections.size();
        if (depth == place.selectors.size())
        {
            return Read(setting);
        }
        const auto &selector = place.selectors[depth];
        if (!m_access.AccessOf(selector).writable)
        {
            return; // it selects nothing now
        }
        for (const auto &value : m_access.ValuesOf(selector))
        {
            if (++m_combinations > mostCombinations)
            {
                throw std::runtime_error(
                    fmt::format("its selectors have more than {} combinations", mostCombinations));
            }
            auto next = setting;
            next.selections.push_back({selector, value});
            Try(next,
                [&](const Setting &selected)
                {
                    m_selectors.Select(selector, value);
                    Visit(place, selected);
                });
        }
    }

    void Read(Setting setting)
    {
        const auto access = m_access.AccessOf(setting.feature);
        if (access.failed)
        {
            throw std::runtime_error(access.cause);
        }
        if (access.readable && access.writable)
        {
            setting.value = m_access.Read(setting.feature);
            m_saved.settings.push_back(std::move(setting));
        }
    }

    SettingAccess &m_access;
    Selectors m_selectors;
    size_t m_combinations = 0; ///< of the selectors of the present feature
    SavedSettings m_saved;
};

/// Writes settings to a module.
class SettingWriter
{
public:
    SettingWriter(SettingAccess &access, const std::vector<Setting> &settings)
        : m_access(access), m_settings(settings), m_selectors(access)
    {
    }

    LoadedSettings Run()
    {
        // A pass that finds the same differences as an earlier one would repeat for ever. The number of
        // passes is limited for values that change by themselves.
        constexpr int mostPasses = 20;
        std::set<Differences> earlier;
        auto differing = WriteAll();
        for (int pass = 1; pass < mostPasses && !differing.empty() && earlier.insert(differing).second;
             ++pass)
        {
            differing = WriteAll();
        }
        Compare();
        return std::move(m_loaded);
    }

private:
    /// The settings that differed, by their index, with the values that they had.
    using Differences = std::vector<std::pair<size_t, std::string>>;

    void Select(const Setting &setting)
    {
        for (const auto &[selector, value] : setting.selections)
        {
            m_selectors.Select(selector, value);
        }
    }

    /// The present value when it is not the wanted one.
    std::optional<std::string> Difference(const Setting &setting)
    {
        Select(setting);
        auto present = m_access.Read(setting.feature);
        return m_access.AreEqual(setting.feature, present, setting.value)
                   ? std::nullopt
                   : std::optional<std::string>(std::move(present));
    }

    /// Writes each setting that differs, and returns those.
    Differences WriteAll()
    {
        Differences differing;
        m_reasons.clear();
        for (size_t i = 0; i < m_settings.size(); ++i)
        {
            try
            {
                const auto &setting = m_settings[i];
                if (const auto present = Difference(setting))
                {
                    differing.emplace_back(i, *present);
                    m_access.Write(setting.feature, setting.value);
                }
            }
            catch (const std::exception &exception)
            {
                m_reasons[i] = exception.what();
            }
        }
        return differing;
    }

    void Compare()
    {
        for (size_t i = 0; i < m_settings.size(); ++i)
        {
            const auto &setting = m_settings[i];
            try
            {
                const auto present = Difference(setting);
                m_loaded.right += present ? 0 : 1;
                if (present)
                {
                    const auto reason = m_reasons.find(i);
                    m_loaded.failures.push_back(
                        {setting, *present,
                         reason != m_reasons.end() ? reason->second : "the device took another value"});
                }
            }
            catch (const std::exception &exception)
            {
                m_loaded.failures.push_back({setting, {}, exception.what()});
            }
        }
    }

    SettingAccess &m_access;
    const std::vector<Setting> &m_settings;
    Selectors m_selectors;
    std::map<size_t, std::string> m_reasons; ///< why a setting was not written, by its index
    LoadedSettings m_loaded;
};

} // namespace

SavedSettings SaveSettings(const Features &features)
{
    SettingAccess access(features);
    return SettingReader(access).Run();
}

LoadedSettings LoadSettings(const Features &features, const std::vector<Setting> &settings)
{
    SettingAccess access(features);
    return SettingWriter(access, settings).Run();
}

} // namespace gentlctl
