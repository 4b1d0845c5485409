#include "simulator/cameras/user_sets.h"

#include "simulator/cameras/acquisition_control.h"
#include "simulator/error.h"

#include <algorithm>

namespace GenTL::simulator
{

UserSets::UserSets(const CameraContext &context, std::vector<UserSet> sets)
    : m_context(context), m_sets(std::move(sets)), m_scan(m_sets.front().scan)
{
    auto &features = m_context.features;
    for (const auto &feature : m_context.model.features)
    {
        if (IsOfUserSets(feature))
        {
            m_factory[feature.name] = features.Value(feature.name);
        }
    }
    features.AfterWrite("UserSetLoad", [this] { Load(); });
    features.AfterWrite("UserSetSave", [this] { Save(); });
    features.CheckOnWrite("UserSetSave",
                          [this](int64_t)
                          {
                              if (&Selected() == &m_sets.front())
                              {
                                  throw Error(GC_ERR_ACCESS_DENIED, "The user set {} cannot be saved",
                                              Selected().entry.name);
                              }
                          });
}

const UserSet &UserSets::Selected() const
{
    const auto selected = m_context.features.Integer("UserSetSelector");
    return *std::ranges::find_if(m_sets, [&](const UserSet &set) { return set.entry.value == selected; });
}

void UserSets::Load()
{
    const auto &set = Selected();
    const auto content = m_context.unit.Saved(set.entry.value).value_or(SavedSet{set.scan, m_factory});
    for (const auto &[name, value] : content.features)
    {
        m_context.features.SetValue(name, value);
    }
    m_scan = content.scan;
    m_context.acquisition.TellListener(); // the frame rate may have changed
}

void UserSets::Save()
{
    SavedSet content{m_scan, {}};
    for (const auto &[name, value] : m_factory)
    {
        content.features[name] = m_context.features.Value(name);
    }
    m_context.unit.Save(Selected().entry.value, std::move(content));
}

} // namespace GenTL::simulator
