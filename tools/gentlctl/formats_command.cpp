#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/offered_formats.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <vector>

namespace gentlctl
{
namespace
{

/// The answer of the command.
struct FormatsReport
{
    std::string device;                   ///< its id
    std::vector<std::string> chosen;      ///< names of the formats that an application may choose
    std::vector<std::string> sent{};      ///< names of the formats that the device itself sends
    std::vector<OfferedFormat> offered{}; ///< how the producer makes each of `chosen`
    /// The features that decide which formats are offered, each with its value ("is") and its entries
    /// ("canBe").
    Json decisive = Json::object();
};

/// The feature in which a producer shows the format that the device itself sends.
constexpr auto sentFeature = "DevicePixelFormat";

/// Chooses each format, to see what the device sends then, and at last the one that was chosen before.
std::vector<OfferedFormat> TryFormats(const Features &remote, const std::vector<std::string> &chosen)
{
    const auto before = remote.Get("PixelFormat").get<std::string>();
    std::vector<OfferedFormat> offered;
    offered.reserve(chosen.size());
    for (const auto &name : chosen)
    {
        remote.Set("PixelFormat", name);
        offered.push_back(ExplainFormat(name, remote.Get(sentFeature).get<std::string>()));
    }
    // A device may stand at a format that cannot be chosen in its mode.
    if (std::ranges::find(chosen, before) != chosen.end())
    {
        remote.Set("PixelFormat", before);
    }
    return offered;
}

FormatsReport ReadFormats(const CommonOptions &options)
{
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    FormatsReport report{.device = device.Entry().id, .chosen = remote.AvailableEntries("PixelFormat")};
    for (const auto *feature : {"ComponentSelector", "Scan3dOutputMode"})
    {
        if (remote.Has(feature))
        {
            report.decisive[feature] = {{"is", remote.Get(feature)},
                                        {"canBe", remote.AvailableEntries(feature)}};
        }
    }
    if (remote.Has(sentFeature) && !remote.WhyWithoutValue(sentFeature))
    {
        report.sent = remote.AvailableEntries(sentFeature);
        report.offered = TryFormats(remote, report.chosen);
    }
    return report;
}

/// The formats that the device itself sends: the lower producer, asked directly, offers them. Without a lower
/// producer they are the chosen formats.
std::vector<std::string> SentFormats(const CommonOptions &options, const FormatsReport &report)
{
    const auto lower = LowerProducerFile(options.producer);
    if (lower.empty())
    {
        return report.chosen;
    }
    Producer producer(lower);
    OpenDevice device(producer, report.device);
    return Features(device.PortOf("remote")).AvailableEntries("PixelFormat");
}

void PrintFormatsAsJson(const FormatsReport &report)
{
    Json json{{"device", report.device}, {"sends", report.sent}, {"offers", Json::array()}};
    for (const auto &format : report.offered)
    {
        json["offers"].push_back({{"format", format.name}, {"sentAs", format.sentAs}, {"task", format.task}});
    }
    json.update(report.decisive);
    PrintJson(json);
}

void PrintFormats(const FormatsReport &report)
{
    Print("{} sends: {}\n\n{:<32}  {:<24}  {}\n", report.device, fmt::join(report.sent, " "),
          "application may choose", "device sends", "the producer");
    for (const auto &format : report.offered)
    {
        Print("{:<32}  {:<24}  {}\n", format.name, format.sentAs,
              format.task == "copy"     ? "copies"
              : format.task == "unpack" ? "unpacks"
                                        : "calibrates");
    }
    const char *separator = "\n";
    for (const auto &feature : report.decisive.items())
    {
        Print("{}This is for {}={}; it can be {}\n", separator, feature.key(),
              feature.value()["is"].get<std::string>(),
              fmt::join(feature.value()["canBe"].get<std::vector<std::string>>(), ", "));
        separator = "";
    }
}

int Formats(const CommonOptions &options)
{
    auto report = ReadFormats(options);
    if (report.offered.empty())
    {
        report.sent = SentFormats(options, report);
        report.offered = ExplainFormats(report.chosen, report.sent);
    }
    options.json ? PrintFormatsAsJson(report) : PrintFormats(report);
    return success;
}

} // namespace

void DeclareFormats(Commands &commands)
{
    auto &command = commands.Add(
        "formats", "Explain the pixel formats that the device sends and an application may choose", Formats);
    command.footer("  gentlctl formats -d OVRA-F1");
}

} // namespace gentlctl
