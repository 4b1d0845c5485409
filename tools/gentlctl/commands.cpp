#include "gentlctl/commands.h"

#include "gentlctl/description.h"
#include "gentlctl/features.h"
#include "gentlctl/formats.h"
#include "gentlctl/output.h"
#include "gentlctl/output_files.h"
#include "gentlctl/printing.h"
#include "gentlctl/producer.h"

#include "vision/calibration_parameters.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <exception>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

namespace
{

Json ToJson(const DeviceEntry &device)
{
    return {{"id", device.id},
            {"vendor", device.vendor},
            {"model", device.model},
            {"serialNumber", device.serialNumber},
            {"userName", device.userName},
            {"accessStatus", AccessStatusName(device.accessStatus)},
            {"reason", AccessStatusReason(device.accessStatus)}};
}

Json ToJson(const InterfaceEntry &interface)
{
    auto devices = Json::array();
    for (const auto &device : interface.devices)
    {
        devices.push_back(ToJson(device));
    }
    return {{"id", interface.id},
            {"displayName", interface.displayName},
            {"tlType", interface.tlType},
            {"devices", devices}};
}

/// Infos of a port and of its first description.
Json PortInfos(internal::IGenTLProxy &calls, void *port)
{
    const auto ports = [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.GCGetPortInfo(port, command, type, buffer, size); };
    const auto urls = [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
    { calls.GCGetPortURLInfo(port, 0, command, type, buffer, size); };
    return {{"port", Answers(PortInfoCommands(), ports)}, {"url", Answers(UrlInfoCommands(), urls)}};
}

/// Infos of a module and of its port.
Json ModuleInfos(internal::IGenTLProxy &calls, void *port, std::span<const InfoCommand> commands,
                 const InfoFunction &function)
{
    Json infos{{"module", Answers(commands, function)}};
    infos.update(PortInfos(calls, port));
    return infos;
}

/// Infos of the modules that need no device.
Json InfosAboveDevice(Producer &producer, Modules &modules)
{
    auto &calls = producer.Calls();
    auto *system = producer.System();
    auto *interface = modules.Interface();
    return {
        {"system", ModuleInfos(calls, system, SystemInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.TLGetInfo(system, command, type, buffer, size); })},
        {"interface", ModuleInfos(calls, interface, InterfaceInfoCommands(),
                                  [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                                  { calls.IFGetInfo(interface, command, type, buffer, size); })},
    };
}

Json InfosOfDevice(internal::IGenTLProxy &calls, OpenDevice &device)
{
    auto *opened = device.DeviceHandle();
    auto *stream = device.Stream();
    return {
        {"device", ModuleInfos(calls, opened, DeviceInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.DevGetInfo(opened, command, type, buffer, size); })},
        {"remote", PortInfos(calls, device.RemotePortHandle())},
        {"stream", ModuleInfos(calls, stream, StreamInfoCommands(),
                               [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                               { calls.DSGetInfo(stream, command, type, buffer, size); })},
    };
}

} // namespace

int List(const CommonOptions &options)
{
    Producer producer(options.producer);
    const auto interfaces = producer.Enumerate();
    if (options.json)
    {
        auto json = Json::array();
        for (const auto &interface : interfaces)
        {
            json.push_back(ToJson(interface));
        }
        PrintJson(json);
        return success;
    }
    for (const auto &interface : interfaces)
    {
        Print("{}  {}  [{}]\n", interface.id, interface.displayName, interface.tlType);
        for (const auto &device : interface.devices)
        {
            const auto reason = AccessStatusReason(device.accessStatus);
            Print("    {}  {} {}  serial {}  {}{}{}\n", device.id, device.vendor, device.model,
                  device.serialNumber, AccessStatusName(device.accessStatus), reason.empty() ? "" : ": ",
                  reason);
        }
    }
    return success;
}

int Info(const CommonOptions &options)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    auto infos = InfosAboveDevice(producer, modules);
    int status = success;
    try
    {
        infos.update(InfosOfDevice(producer.Calls(), modules.Device()));
    }
    catch (const std::exception &exception)
    {
        Complain(exception.what());
        status = options.device.empty() ? success : failed;
    }
    if (options.json)
    {
        PrintJson(infos);
        return status;
    }
    for (const auto &module : infos.items())
    {
        for (const auto &group : module.value().items())
        {
            Print("{} {}\n", module.key(), group.key());
            PrintTable(group.value(), "    ");
        }
    }
    return status;
}

int Xml(const CommonOptions &options, const std::string &module, const std::string &file)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const auto text = LoadDescription(*modules.PortOf(module));
    if (file.empty())
    {
        PrintText(text);
    }
    else
    {
        WriteBytes(file, text.data(), text.size());
    }
    return success;
}

int Formats(const CommonOptions &options)
{
    std::string id;
    std::vector<std::string> chosen;
    auto depth = Json::object();
    {
        Producer producer(options.producer);
        OpenDevice device(producer, options.device);
        id = device.Entry().id;
        const Features remote(device.PortOf("remote"));
        chosen = remote.AvailableEntries("PixelFormat");
        for (const auto *decisive : {"ComponentSelector", "Scan3dOutputMode"})
        {
            if (remote.Has(decisive))
            {
                depth[decisive] = {{"is", remote.Get(decisive)},
                                   {"canBe", remote.AvailableEntries(decisive)}};
            }
        }
    }
    auto sent = chosen;
    if (const auto lower = LowerProducerFile(options.producer); !lower.empty())
    {
        // Past the producer, as the device itself has it.
        Producer producer(lower);
        OpenDevice device(producer, id);
        sent = Features(device.PortOf("remote")).AvailableEntries("PixelFormat");
    }
    const auto offered = ExplainFormats(chosen, sent);
    if (options.json)
    {
        auto json = Json{{"device", id}, {"sends", sent}, {"offers", Json::array()}};
        for (const auto &format : offered)
        {
            json["offers"].push_back(
                {{"format", format.name}, {"sentAs", format.sentAs}, {"task", format.task}});
        }
        json.update(depth);
        PrintJson(json);
        return success;
    }
    Print("{} sends: {}\n\n{:<32}  {:<24}  {}\n", id, fmt::join(sent, " "), "application may choose",
          "device sends", "the producer");
    for (const auto &format : offered)
    {
        Print("{:<32}  {:<24}  {}\n", format.name, format.sentAs,
              format.task == "copy"     ? "copies"
              : format.task == "unpack" ? "unpacks"
                                        : "calibrates");
    }
    for (const auto &decisive : depth.items())
    {
        Print("{}This is for {}={}; it can be {}\n", decisive.key() == depth.begin().key() ? "\n" : "",
              decisive.key(), decisive.value()["is"].get<std::string>(),
              fmt::join(decisive.value()["canBe"].get<std::vector<std::string>>(), ", "));
    }
    return success;
}

namespace
{

/// Files on a device; none when it has no access to files.
std::vector<std::string> FilesOf(const Features &remote)
{
    return remote.Has("FileSelector") ? remote.Files().AvailableFiles() : std::vector<std::string>();
}

std::vector<uint8_t> Fetch(const Features &remote, const std::string &name)
{
    const auto known = FilesOf(remote);
    if (std::ranges::find(known, name) == known.end())
    {
        throw std::runtime_error(known.empty() ? fmt::format("The device has no files, and so no {}", name)
                                               : fmt::format("The device has no file \"{}\"; it has {}", name,
                                                             fmt::join(known, ", ")));
    }
    auto content = remote.Files().ReadFile(name);
    if (content.empty())
    {
        throw std::runtime_error(
            fmt::format("The file {} cannot be read from the device, or is empty", name));
    }
    return content;
}

} // namespace

int Files(const CommonOptions &options, const std::vector<std::string> &names, const std::string &folder)
{
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    auto result = Json::object();
    if (names.empty())
    {
        for (const auto &name : FilesOf(remote))
        {
            result[name] = remote.Files().FileSize(name);
        }
    }
    else
    {
        MakeFolder(folder);
        for (const auto &name : names)
        {
            const auto file = std::filesystem::path(folder) / name;
            const auto content = Fetch(remote, name);
            WriteBytes(file, content.data(), content.size());
            result[name] = file.string();
        }
    }
    if (result.empty() && !options.json)
    {
        Print("The device has no files.\n");
        return success;
    }
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

int Calibration(const CommonOptions &options, const std::string &file)
{
    constexpr auto calibrationFile = "LensCalibrationData";
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const auto content = Fetch(Features(device.PortOf("remote")), calibrationFile);
    const auto calibration = tarn::cvl::ParseCalibrationParameters(content.data(), content.size());
    const Json result{{"bytes", content.size()},
                      {"width", calibration->width},
                      {"height", calibration->height},
                      {"focalLengthX", calibration->focalLengthX},
                      {"focalLengthY", calibration->focalLengthY},
                      {"principalPointX", calibration->principalPointX},
                      {"principalPointY", calibration->principalPointY}};
    if (!file.empty())
    {
        WriteBytes(file, content.data(), content.size());
    }
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

} // namespace gentlctl
