// The port of each module: its infos, its description, its registers.

#include "check/answers.h"
#include "check/check.h"
#include "check/document_rules.h"
#include "check/info_rules.h"
#include "consumer/features.h"
#include "consumer/port.h"
#include "nodemap/description_location.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace gentlctl
{

using namespace GenTL;
using internal::DescriptionLocation;
using internal::ModuleType;
using internal::UrlScheme;

namespace
{

constexpr uint64_t mostBytes = 1U << 28U;
constexpr uint64_t noAddress = 0xFFFFFFFFFFFFFF00;
constexpr uint32_t mostUrls = 16;
constexpr size_t mostFailures = 5;
constexpr uint64_t listLimitMs = 1000;

/// A module with a port.
struct PortKind
{
    const char *area;
    ModuleType type;
    const char *moduleName; ///< PORT_INFO_MODULE
    PORT_HANDLE (*handle)(Session &session);
};

const std::array<PortKind, 5> portKinds{{
    {"system", ModuleType::System, "TLSystem", [](Session &session) { return session.System(); }},
    {"interface", ModuleType::Interface, "TLInterface", [](Session &session) { return session.Interface(); }},
    {"device", ModuleType::Device, "TLDevice", [](Session &session) { return session.Device(); }},
    {"remote device", ModuleType::RemoteDevice, "Device", [](Session &session) { return session.Remote(); }},
    {"stream", ModuleType::DataStream, "TLDataStream", [](Session &session) { return session.Stream(); }},
}};

RawQuery PortQuery(Calls &calls, PORT_HANDLE port, PORT_INFO_CMD command)
{
    return [&calls, port, command](INFO_DATATYPE *type, void *buffer, size_t *size)
    { return calls.GCGetPortInfo(port, command, type, buffer, size); };
}

/// A URL of a port.
struct PortUrl
{
    PORT_HANDLE port;
    uint32_t index = 0;
};

RawQuery UrlQuery(Calls &calls, PortUrl url, URL_INFO_CMD command)
{
    return [&calls, url, command](INFO_DATATYPE *type, void *buffer, size_t *size)
    { return calls.GCGetPortURLInfo(url.port, url.index, command, type, buffer, size); };
}

/// How many URLs to look at: as many as the port has, but at least one and at most mostUrls.
uint32_t NumUrls(Calls &calls, PORT_HANDLE port)
{
    uint32_t count = 0;
    calls.GCGetNumPortURLs(port, &count);
    return std::clamp(count, 1U, mostUrls);
}

void PortAnswers(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    CheckInfoRules(bench.trial, PortInfos("GCGetPortInfo"),
                   [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                   { return bench.calls.GCGetPortInfo(port, command, type, buffer, size); });
    const auto module = TextAnswerOf(PortQuery(bench.calls, port, PORT_INFO_MODULE));
    if (module != kind.moduleName)
    {
        bench.trial.Add("GCGetPortInfo(PORT_INFO_MODULE)",
                        fmt::format("says \"{}\"; \"{}\" is published", module, kind.moduleName),
                        {Level::WillHurt, "consumers that tell the modules apart by it",
                         fmt::format("answer \"{}\"", kind.moduleName)});
    }
    const auto isLittle = AnswerOf<bool8_t>(PortQuery(bench.calls, port, PORT_INFO_LITTLE_ENDIAN));
    const auto isBig = AnswerOf<bool8_t>(PortQuery(bench.calls, port, PORT_INFO_BIG_ENDIAN));
    if (isLittle && isBig && (*isLittle != 0) == (*isBig != 0))
    {
        bench.trial.Add("GCGetPortInfo(PORT_INFO_LITTLE_ENDIAN)", "says the same as PORT_INFO_BIG_ENDIAN",
                        {Level::WillHurt, "consumers that parse chunks in the port's byte order",
                         "answer true to one of the two"});
    }
}

void UrlAnswers(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    const Verdict noUrl{Level::Broken, "every consumer: it reads the description behind index 0",
                        "answer the URL of the description at index 0 of GCGetPortURLInfo"};
    uint32_t count = 0;
    if (bench.trial.Must("GCGetNumPortURLs", bench.calls.GCGetNumPortURLs(port, &count), noUrl) && count == 0)
    {
        bench.trial.Add("GCGetNumPortURLs", "tells 0", noUrl);
    }
    const auto last = NumUrls(bench.calls, port);
    for (uint32_t i = 0; i < last; ++i)
    {
        CheckInfoRules(bench.trial, UrlInfos("GCGetPortURLInfo"),
                       [&](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                       { return bench.calls.GCGetPortURLInfo(port, i, command, type, buffer, size); });
    }
    size_t size = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    bench.trial.MustFail(
        "GCGetPortURLInfo beyond the last URL",
        bench.calls.GCGetPortURLInfo(port, std::max(count, last), URL_INFO_URL, &type, nullptr, &size),
        {GC_ERR_INVALID_INDEX, GC_ERR_INVALID_PARAMETER},
        {Level::WillHurt, "consumers that count URLs until the error comes", "return GC_ERR_INVALID_INDEX"});
}

/// An info of a URL beside what the URL's text says.
void MustAgree(Bench &bench, const std::string &call, std::optional<uint64_t> told, uint64_t inText)
{
    if (told && *told != inText)
    {
        bench.trial.Add(call, fmt::format("tells {:#x}, the URL says {:#x}", *told, inText),
                        {Level::WillHurt, "some consumers take the one, some the other",
                         "answer what the URL says; its numbers are hexadecimal"});
    }
}

/// Where the description lies; nothing, and a finding, when no consumer gets there.
std::optional<DescriptionLocation> LocationOf(Bench &bench, const PortUrl &at)
{
    const auto url = TextAnswerOf(UrlQuery(bench.calls, at, URL_INFO_URL));
    const auto location = internal::ParseLocation(url);
    const bool hasSize = location.Size > 0 && location.Size <= mostBytes;
    if (location.Scheme == UrlScheme::Local && hasSize)
    {
        MustAgree(bench, "GCGetPortURLInfo(URL_INFO_FILE_REGISTER_ADDRESS)",
                  AnswerOf<uint64_t>(UrlQuery(bench.calls, at, URL_INFO_FILE_REGISTER_ADDRESS)),
                  location.Address);
        MustAgree(bench, "GCGetPortURLInfo(URL_INFO_FILE_SIZE)",
                  AnswerOf<uint64_t>(UrlQuery(bench.calls, at, URL_INFO_FILE_SIZE)), location.Size);
        return location;
    }
    std::error_code ignored;
    if (location.Scheme == UrlScheme::File && std::filesystem::exists(location.Path, ignored))
    {
        return std::nullopt;
    }
    const bool isRemote = location.Scheme == UrlScheme::Http;
    bench.trial.Add(fmt::format("URL \"{}\"", url), isRemote ? "lies on a server" : "leads to no description",
                    {isRemote ? Level::WillHurt : Level::Broken, "consumers without a network client",
                     "give \"local:NAME;ADDRESS;SIZE\" with hexadecimal numbers as the first URL"});
    return std::nullopt;
}

void ReadDescription(Bench &bench, const PortUrl &at)
{
    const auto location = LocationOf(bench, at);
    if (!location)
    {
        return;
    }
    std::vector<uint8_t> bytes(location->Size);
    size_t size = bytes.size();
    const Verdict verdict{Level::Broken, "every consumer: it reads the document in one call",
                          "serve GCReadPort for the whole length that the URL tells, in pieces if need be"};
    const auto call = fmt::format("GCReadPort of {} bytes at {:#x}", bytes.size(), location->Address);
    if (!bench.trial.Must(call, bench.calls.GCReadPort(at.port, location->Address, bytes.data(), &size),
                          verdict))
    {
        return;
    }
    if (size != bytes.size())
    {
        bench.trial.Add(call, fmt::format("reads {} bytes only", size), verdict);
    }
    bytes.resize(std::min(size, bytes.size()));
    const auto number = [&](URL_INFO_CMD command)
    { return AnswerOf<int32_t>(UrlQuery(bench.calls, at, command)).value_or(1); };
    CheckDocument(bench.trial,
                  {location->Url, number(URL_INFO_SCHEMA_VER_MAJOR), number(URL_INFO_SCHEMA_VER_MINOR)},
                  bytes);
}

void DescriptionsAreRead(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    const auto count = NumUrls(bench.calls, port);
    for (uint32_t i = 0; i < count; ++i)
    {
        ReadDescription(bench, {port, i});
    }
}

void FeaturesAreRead(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    if (kind.type == ModuleType::System)
    {
        // The features of the system list the interfaces that the last update found.
        bench.calls.TLUpdateInterfaceList(port, nullptr, listLimitMs);
    }
    std::string failures;
    size_t count = 0;
    try
    {
        const Features features(std::make_shared<Port>(ThrowingCalls(bench.calls), port, kind.type));
        const auto values = features.Values({});
        for (const auto &[name, value] : values.items())
        {
            if (value.is_object() && value.contains("error"))
            {
                ++count;
                failures += count > mostFailures ? std::string()
                                                 : fmt::format("{}{}", failures.empty() ? "" : "; ",
                                                               value["error"].get<std::string>());
            }
        }
    }
    catch (const std::exception &exception)
    {
        throw NotReached(exception.what());
    }
    if (count != 0)
    {
        bench.trial.Add("features", fmt::format("{} cannot be read: {}", count, failures),
                        {Level::WillHurt, "consumers that list or save all features",
                         "make the registers readable, or tell by pIsAvailable when they are not"});
    }
}

void UnknownAddressIsRefused(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    std::array<uint8_t, 4> bytes{};
    size_t size = bytes.size();
    bench.trial.MustFail("GCReadPort where no register is",
                         bench.calls.GCReadPort(port, noAddress, bytes.data(), &size),
                         {GC_ERR_INVALID_ADDRESS, GC_ERR_IO, GC_ERR_ACCESS_DENIED, GC_ERR_INVALID_PARAMETER},
                         {Level::WillHurt, "users of a wrong description read numbers that mean nothing",
                          "return GC_ERR_INVALID_ADDRESS"});
}

void StackedReadsAgree(Bench &bench, const PortKind &kind)
{
    auto *const port = kind.handle(bench.session);
    const auto location = internal::ParseLocation(TextAnswerOf(UrlQuery(bench.calls, {port}, URL_INFO_URL)));
    if (location.Scheme != UrlScheme::Local || location.Size < 8)
    {
        throw NotReached("the description does not lie in the port");
    }
    std::array<std::array<uint8_t, 4>, 2> stacked{};
    std::array<PORT_REGISTER_STACK_ENTRY, 2> entries{
        {{location.Address, stacked[0].data(), 4}, {location.Address + 4, stacked[1].data(), 4}}};
    size_t count = entries.size();
    const Verdict verdict{Level::WillHurt, "consumers that read registers in groups",
                          "serve GCReadPortStacked as one GCReadPort after the other"};
    if (!bench.trial.Must("GCReadPortStacked", bench.calls.GCReadPortStacked(port, entries.data(), &count),
                          verdict))
    {
        return;
    }
    std::array<uint8_t, 8> whole{};
    size_t size = whole.size();
    bench.calls.GCReadPort(port, location.Address, whole.data(), &size);
    const bool isEqual = std::equal(stacked[0].begin(), stacked[0].end(), whole.begin()) &&
                         std::equal(stacked[1].begin(), stacked[1].end(), whole.begin() + 4);
    if (!isEqual || count != entries.size())
    {
        bench.trial.Add("GCReadPortStacked", "reads other bytes than GCReadPort, or not all entries",
                        verdict);
    }
}

/// The features by which all four consumers start a camera.
void CameraHasNeededFeatures(Bench &bench)
{
    struct Needed
    {
        const char *name;
        Verdict verdict;
    };
    const Verdict cannotStart{Level::Broken, "every consumer: it cannot start the camera",
                              "describe the command"};
    const Verdict noSize{Level::WillHurt, "consumers that ask the camera what the buffer does not tell",
                         "describe the feature"};
    const std::array<Needed, 6> needed{{
        {"AcquisitionStart", cannotStart},
        {"AcquisitionStop", cannotStart},
        {"PayloadSize",
         {Level::WillHurt, "Aravis allocates its buffers by this feature alone",
          "describe PayloadSize, also when the stream defines the size"}},
        {"Width", noSize},
        {"Height", noSize},
        {"PixelFormat", noSize},
    }};
    const auto &features = bench.session.RemoteFeatures();
    for (const auto &[name, verdict] : needed)
    {
        if (!features.Has(name))
        {
            bench.trial.Add(fmt::format("feature {}", name), "is not there", verdict);
        }
    }
}

using PortCheck = void (*)(Bench &bench, const PortKind &kind);

struct NamedPortCheck
{
    const char *states;
    PortCheck run;
};

constexpr std::array<NamedPortCheck, 6> portChecks{{
    {"GCGetPortInfo answers every command by the rules", PortAnswers},
    {"GCGetPortURLInfo answers every command by the rules", UrlAnswers},
    {"GCReadPort reads each description in one call, and it is sound", DescriptionsAreRead},
    {"every feature is read", FeaturesAreRead},
    {"GCReadPort refuses an unknown address", UnknownAddressIsRefused},
    {"GCReadPortStacked reads the same bytes", StackedReadsAgree},
}};

} // namespace

ChecksOf PortChecks()
{
    ChecksOf checks;
    for (const auto &kind : portKinds)
    {
        for (const auto &check : portChecks)
        {
            checks.push_back(
                {kind.area, check.states, [&kind, run = check.run](Bench &bench) { run(bench, kind); }});
        }
    }
    checks.push_back(
        {"remote device", "it has the features that consumers start it with", CameraHasNeededFeatures});
    return checks;
}

} // namespace gentlctl
