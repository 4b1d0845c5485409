#include "gentlctl/settings_file.h"

#include "gentlctl/input_file.h"

#include <fmt/format.h>
#include <yaml-cpp/yaml.h>

#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace gentlctl
{
namespace
{

/// The names of the file's own entries.
namespace keys
{
constexpr auto device = "device";
constexpr auto vendor = "vendor";
constexpr auto model = "model";
constexpr auto serialNumber = "serial";
constexpr auto tool = "tool";
} // namespace keys

/// Far above the settings of any device.
constexpr uint64_t largestFile = uint64_t{16} << 20U;

/// Whether some readers of YAML take the text for a truth value, though it is neither "true" nor "false".
bool IsAmbiguous(const std::string &text)
{
    constexpr const char *words[] = {"on", "off", "yes", "no", "y", "n"};
    return std::ranges::any_of(words, [&](const char *word) { return strcasecmp(word, text.c_str()) == 0; });
}

/// The entries of a map. Absent counts as empty.
/// @throws YAML::Exception it is no map
YAML::Node MapOf(const YAML::Node &node)
{
    if (node.IsDefined() && !node.IsMap() && !node.IsNull())
    {
        throw YAML::Exception(node.Mark(), "\"NAME: VALUE\" is missing");
    }
    return node;
}

/// @throws YAML::Exception it is no single value
std::string ScalarOf(const YAML::Node &node)
{
    if (!node.IsScalar() && !node.IsNull())
    {
        throw YAML::Exception(node.Mark(), "one value is missing behind the name");
    }
    return node.IsNull() ? std::string() : node.Scalar();
}

Setting SettingOf(const YAML::Node &key, const YAML::Node &value)
{
    try
    {
        auto setting = SettingOfKey(ScalarOf(key));
        setting.value = ScalarOf(value);
        return setting;
    }
    catch (const YAML::Exception &)
    {
        throw;
    }
    catch (const std::runtime_error &error)
    {
        throw YAML::Exception(key.Mark(), error.what());
    }
}

ModuleSettings ModuleOf(const std::string &name, const YAML::Node &node)
{
    ModuleSettings module{name, {}};
    for (const auto &entry : MapOf(node))
    {
        module.settings.push_back(SettingOf(entry.first, entry.second));
    }
    return module;
}

SettingsFile Parse(const std::string &text)
{
    const auto root = YAML::Load(text);
    if (!root.IsMap())
    {
        throw YAML::Exception(root.Mark(), "a module and its settings are missing, as \"remote:\"");
    }
    SettingsFile content;
    for (const auto &entry : root)
    {
        const auto name = ScalarOf(entry.first);
        if (name == keys::device)
        {
            const auto identity = MapOf(entry.second);
            content.vendor = identity[keys::vendor].as<std::string>("");
            content.model = identity[keys::model].as<std::string>("");
            content.serialNumber = identity[keys::serialNumber].as<std::string>("");
        }
        else if (name != keys::tool)
        {
            content.modules.push_back(ModuleOf(name, entry.second));
        }
    }
    return content;
}

} // namespace

std::string SettingsText(const SettingsFile &content)
{
    YAML::Emitter out;
    out << YAML::Comment("Settings of a device; `gentlctl settings load FILE` restores them.");
    out << YAML::BeginMap << YAML::Key << keys::tool << YAML::Value << "gentlctl " QVR_VERSION;
    out << YAML::Key << keys::device << YAML::Value << YAML::BeginMap;
    out << YAML::Key << keys::vendor << YAML::Value << content.vendor;
    out << YAML::Key << keys::model << YAML::Value << content.model;
    out << YAML::Key << keys::serialNumber << YAML::Value << content.serialNumber << YAML::EndMap;
    for (const auto &module : content.modules)
    {
        out << YAML::Key << module.module << YAML::Value << YAML::BeginMap;
        for (const auto &setting : module.settings)
        {
            out << YAML::Key << KeyOf(setting) << YAML::Value;
            out << (IsAmbiguous(setting.value) ? YAML::DoubleQuoted : YAML::Auto) << setting.value;
        }
        out << YAML::EndMap;
    }
    out << YAML::EndMap;
    return std::string(out.c_str(), out.size()) + "\n";
}

SettingsFile ReadSettingsFile(const std::filesystem::path &file)
{
    const auto content = ReadInputFile(file, largestFile);
    try
    {
        return Parse(content);
    }
    catch (const YAML::Exception &error)
    {
        throw std::runtime_error(fmt::format("{}:{}: not as `gentlctl settings save` writes it: {}",
                                             file.string(), std::max(error.mark.line, 0) + 1, error.msg));
    }
}

} // namespace gentlctl
