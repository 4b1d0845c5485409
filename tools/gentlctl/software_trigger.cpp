#include "gentlctl/software_trigger.h"

#include "port/proxy_module.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>

namespace gentlctl
{

SoftwareTrigger::SoftwareTrigger(const Features &remote) : m_remote(remote)
{
    if (!remote.Has("TriggerSoftware"))
    {
        throw std::runtime_error(
            "The device has no TriggerSoftware, which --trigger executes for each frame");
    }
    try
    {
        Choose("TriggerSelector", "FrameStart");
        Choose("TriggerSource", "Software");
        Choose("TriggerMode", "On");
    }
    catch (...)
    {
        SetBack();
        throw;
    }
}

SoftwareTrigger::~SoftwareTrigger()
{
    SetBack();
}

void SoftwareTrigger::Choose(const std::string &feature, const std::string &value)
{
    if (!m_remote.Has(feature))
    {
        return;
    }
    try
    {
        const auto before = m_remote.Get(feature).get<std::string>();
        if (before != value)
        {
            m_remote.Set(feature, value);
            m_before.emplace_back(feature, before);
        }
    }
    catch (const std::exception &exception)
    {
        throw std::runtime_error(
            fmt::format("--trigger cannot set {} to {}: {}", feature, value, exception.what()));
    }
}

void SoftwareTrigger::SetBack() noexcept
{
    for (; !m_before.empty(); m_before.pop_back())
    {
        const auto &before = m_before.back();
        GenTL::internal::CloseQuietly([&] { m_remote.Set(before.first, before.second); });
    }
}

} // namespace gentlctl
