#include "consumer/setting.h"

#include <fmt/format.h>

#include <stdexcept>

namespace gentlctl
{

std::string KeyOf(const Setting &setting)
{
    std::string selections;
    for (const auto &[selector, value] : setting.selections)
    {
        selections += fmt::format("{}{}={}", selections.empty() ? "" : ",", selector, value);
    }
    return selections.empty() ? setting.feature : fmt::format("{}[{}]", setting.feature, selections);
}

Setting SettingOfKey(const std::string &key)
{
    const auto wrong = [&] {
        return std::runtime_error(fmt::format("\"{}\" is not of the form NAME or NAME[SELECTOR=VALUE]", key));
    };
    const auto open = key.find('[');
    Setting setting{key.substr(0, open), {}, {}};
    if (setting.feature.empty() || (open != std::string::npos && !key.ends_with(']')))
    {
        throw wrong();
    }
    for (auto begin = open; begin != std::string::npos && key[begin] != ']';)
    {
        const auto end = key.find_first_of(",]", begin + 1);
        const auto pair = key.substr(begin + 1, end - begin - 1);
        const auto split = pair.find('=');
        if (split == std::string::npos || split == 0)
        {
            throw wrong();
        }
        setting.selections.push_back({pair.substr(0, split), pair.substr(split + 1)});
        begin = end;
    }
    return setting;
}

} // namespace gentlctl
