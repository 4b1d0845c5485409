#include "gentlctl/command.h"

#include "consumer/producer_files.h"
#include "gentlctl/durations.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace gentlctl
{

Commands::Commands(CLI::App &app, CommonOptions defaults) : m_app(app), m_common(std::move(defaults))
{
    app.add_option(
           "--producer", m_common.producer,
           "File of the producer; default: the first producer in GENICAM_GENTL64_PATH, else the one that "
           "belongs to this program")
        ->type_name("FILE")
        ->group(commonGroup);
    app.add_option(
           "-d,--device", m_common.devices,
           "Id, model, serial number or user name of the device; default: the first that can be opened")
        ->type_name("DEVICE")
        ->allow_extra_args(false)
        ->group(commonGroup);
    app.add_flag("--json", m_common.json, "Print JSON")->group(commonGroup);
}

CLI::App &Commands::Add(const std::string &name, const std::string &description, Run run, Devices devices)
{
    return AddWithoutProducer(
        name, description,
        [run = std::move(run)](const CommonOptions &options)
        {
            auto found = options;
            found.producer = ProducerFor(options.producer);
            return run(found);
        },
        devices);
}

CLI::App &Commands::AddWithoutProducer(const std::string &name, const std::string &description, Run run,
                                       Devices devices)
{
    auto *command = m_app.add_subcommand(name, description);
    command->callback(
        [this, name, devices, run = std::move(run)]
        {
            const auto &chosen = m_common.devices;
            if (devices == Devices::One && chosen.size() > 1)
            {
                throw CLI::ArgumentMismatch(
                    fmt::format("--device: {} works with one device, and {} are named", name, chosen.size()));
            }
            m_common.producer = ProducerAt(m_common.producer);
            m_common.device = chosen.empty() ? "" : chosen.front();
            m_status = run(m_common);
        });
    return *command;
}

CLI::App &Commands::AddOwn(const std::string &name, const std::string &description, std::function<int()> run)
{
    auto *command = m_app.add_subcommand(name, description);
    command->fallthrough(false)->callback(
        [this, name, run = std::move(run)]
        {
            RefuseJson(m_common, name);
            m_status = run();
        });
    return *command;
}

std::string ProducerFor(const std::string &named)
{
    if (!named.empty())
    {
        return named;
    }
    const auto choice = ChooseProducer();
    if (!choice.note.empty())
    {
        Complain(choice.note);
    }
    return choice.file;
}

void AddModule(CLI::App &command, std::string &module, const std::vector<std::string> &choice,
               const std::string &description)
{
    command.add_option("-m,--module", module, description)
        ->check(CLI::IsMember(choice))
        ->capture_default_str();
}

void AddDuration(CLI::App &command, const std::string &description,
                 const std::function<void(std::chrono::nanoseconds)> &take)
{
    command
        .add_option_function<std::string>(
            "--duration",
            [take](const std::string &text)
            {
                try
                {
                    take(ParseDuration(text));
                }
                catch (const std::runtime_error &error)
                {
                    throw CLI::ValidationError("--duration", error.what());
                }
            },
            description)
        ->type_name("TIME");
}

void AddSettingsFile(CLI::App &command, std::string &file)
{
    command.add_option("--settings", file, "File of `gentlctl settings save` to load first")
        ->type_name("FILE");
}

void AddAssignments(CLI::App &command, std::vector<std::string> &assignments)
{
    command
        .add_option("-s,--set", assignments,
                    "Feature to set, or command to execute, before all else; may be repeated, applied in the "
                    "given order")
        ->type_name("NAME[=VALUE]")
        ->allow_extra_args(false)
        ->check(Assignment());
}

const std::vector<std::string> &ModuleNames()
{
    static const std::vector<std::string> names{"system", "interface", "device", "remote", "stream"};
    return names;
}

CLI::Validator Assignment()
{
    return {[](std::string &text)
            {
                return !text.empty() && text[0] != '='
                           ? std::string()
                           : fmt::format("\"{}\" is neither NAME=VALUE nor the NAME of a command", text);
            },
            ""};
}

void RefuseJson(const CommonOptions &options, const std::string &command)
{
    if (options.json)
    {
        throw CLI::ValidationError("--json", fmt::format("{} prints no JSON", command));
    }
}

void RefuseEmptyValues(CLI::App &app)
{
    const CLI::Validator notEmpty(
        [](const std::string &text)
        { return text.empty() ? std::string("the value is empty") : std::string(); },
        "");
    for (auto *const option : app.get_options({}))
    {
        // In front of the other checks, which would say something else.
        option->transform(notEmpty);
    }
    for (auto *const command : app.get_subcommands({}))
    {
        RefuseEmptyValues(*command);
    }
}

} // namespace gentlctl
