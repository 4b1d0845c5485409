#include "recording/device_file.h"

#include "recording/error.h"
#include "recording/layout.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <concepts>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace recording
{

using Json = nlohmann::ordered_json;

namespace
{

std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const auto byte : bytes)
    {
        fmt::format_to(std::back_inserter(text), "{:02x}", static_cast<uint8_t>(byte));
    }
    return text;
}

std::string FromHex(const std::string &text)
{
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2)
    {
        uint8_t byte = 0;
        const auto *const end = text.data() + std::min(i + 2, text.size());
        if (const auto result = std::from_chars(text.data() + i, end, byte, 16);
            result.ec != std::errc() || result.ptr != text.data() + i + 2)
        {
            throw Error("\"{}\" are no bytes", text.substr(0, 40));
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

template <std::integral Value>
bool Fits(const Json &number)
{
    return number.is_number_unsigned()
               ? std::in_range<Value>(number.get<uint64_t>())
               : number.is_number_integer() && std::in_range<Value>(number.get<int64_t>());
}

/// A value of a record. By itself, the JSON library cuts a number that the type cannot hold.
template <typename Value>
Value ValueOf(const Json &json)
{
    if constexpr (std::integral<Value> && !std::same_as<Value, bool>)
    {
        if (json.is_number() && !Fits<Value>(json))
        {
            throw Error("{} is out of range", json.dump());
        }
    }
    return json.get<Value>();
}

/// Writes members of a record into an object of JSON.
class Saver
{
public:
    template <typename Value>
    void Member(const char *name, const Value &value)
    {
        m_json[name] = value;
    }
    template <typename Value>
    void Optional(const char *name, const std::optional<Value> &value)
    {
        m_json[name] = value ? Json(*value) : Json();
    }
    void Bytes(const char *name, const std::string &bytes) { m_json[name] = Hex(bytes); }
    template <typename Record>
    void Object(const char *name, const Record &record);
    template <typename Record>
    void List(const char *name, const std::vector<Record> &records);

    Json Take() { return std::move(m_json); }

private:
    Json m_json = Json::object();
};

/// Reads members of a record from an object of JSON.
class Loader
{
public:
    explicit Loader(const Json &json) : m_json(json) {}

    template <typename Value>
    void Member(const char *name, Value &value)
    {
        value = ValueOf<Value>(m_json.at(name));
    }
    template <typename Value>
    void Optional(const char *name, std::optional<Value> &value)
    {
        const auto &json = m_json.at(name);
        value = json.is_null() ? std::nullopt : std::optional(ValueOf<Value>(json));
    }
    void Bytes(const char *name, std::string &bytes)
    {
        bytes = FromHex(m_json.at(name).get_ref<const std::string &>());
    }
    template <typename Record>
    void Object(const char *name, Record &record);
    template <typename Record>
    void List(const char *name, std::vector<Record> &records);

private:
    const Json &m_json;
};

template <typename Record, typename Kind>
concept RecordOf = std::same_as<std::remove_const_t<Record>, Kind>;

// One list of the members of a record, for both directions: a Saver with a constant record, or a Loader.

void Each(auto &members, RecordOf<InfoRecord> auto &record)
{
    members.Member("command", record.command);
    members.Member("error", record.error);
    members.Member("type", record.type);
    members.Bytes("bytes", record.bytes);
}

void Each(auto &members, RecordOf<Memory> auto &record)
{
    members.Member("address", record.address);
    members.Bytes("bytes", record.bytes);
}

void Each(auto &members, RecordOf<FeaturePlace> auto &record)
{
    members.Member("feature", record.feature);
    members.Member("address", record.address);
    members.Member("length", record.length);
    members.Member("bigEndian", record.isBigEndian);
}

void Each(auto &members, RecordOf<CommandPlace> auto &record)
{
    members.Object("place", record.place);
    members.Member("value", record.value);
}

void Each(auto &members, RecordOf<Selection> auto &record)
{
    members.List("selectors", record.selectors);
    members.List("values", record.values);
}

void Each(auto &members, RecordOf<NamedValue> auto &record)
{
    members.Member("name", record.name);
    members.Member("value", record.value);
}

void Each(auto &members, RecordOf<DeviceFile> auto &record)
{
    members.Member("name", record.name);
    members.Member("selector", record.selector);
}

void Each(auto &members, RecordOf<FileAccess> auto &record)
{
    members.List("places", record.places);
    members.List("operations", record.operations);
    members.List("statuses", record.statuses);
    members.List("files", record.files);
}

void Each(auto &members, RecordOf<Registers> auto &record)
{
    members.List("memory", record.memory);
    members.List("selections", record.selections);
    members.List("commands", record.commands);
    members.List("layout", record.layout);
    members.Object("fileAccess", record.fileAccess);
}

void Each(auto &members, RecordOf<InterfaceRecord> auto &record)
{
    members.Member("id", record.id);
    members.Member("displayName", record.displayName);
    members.Member("tlType", record.tlType);
}

void Each(auto &members, RecordOf<DeviceRecord> auto &record)
{
    members.Member("id", record.id);
    members.Member("vendor", record.vendor);
    members.Member("model", record.model);
    members.Member("serialNumber", record.serialNumber);
    members.Member("displayName", record.displayName);
    members.Member("tlType", record.tlType);
    members.Member("ticksPerSecond", record.ticksPerSecond);
    members.Object("interface", record.interface);
    members.Member("url", record.url);
    members.Optional("descriptionAddress", record.descriptionAddress);
    members.Member("streamDefinesPayload", record.streamDefinesPayload);
    members.Member("payloadSize", record.payloadSize);
    members.List("deviceInfos", record.deviceInfos);
    members.List("portInfos", record.portInfos);
    members.List("urlInfos", record.urlInfos);
    members.Object("registers", record.registers);
}

template <typename Record>
void Saver::Object(const char *name, const Record &record)
{
    Saver saver;
    Each(saver, record);
    m_json[name] = saver.Take();
}

template <typename Record>
void Saver::List(const char *name, const std::vector<Record> &records)
{
    auto &list = m_json[name] = Json::array();
    for (const auto &record : records)
    {
        Saver saver;
        Each(saver, record);
        list.push_back(saver.Take());
    }
}

template <typename Record>
void Loader::Object(const char *name, Record &record)
{
    Loader loader(m_json.at(name));
    Each(loader, record);
}

template <typename Record>
void Loader::List(const char *name, std::vector<Record> &records)
{
    for (const auto &item : m_json.at(name))
    {
        Loader loader(item);
        Each(loader, records.emplace_back());
    }
}

/// The cause of an exception of the JSON library, without the number in front of it.
std::string CauseOf(const Json::exception &exception)
{
    const std::string_view text = exception.what();
    const auto end = text.find("] ");
    return std::string(end == std::string_view::npos ? text : text.substr(end + 2));
}

} // namespace

std::string ToJson(const DeviceRecord &device)
{
    Saver saver;
    saver.Member("version", formatVersion);
    Each(saver, device);
    // Names from a camera need not be UTF-8.
    return saver.Take().dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

DeviceRecord DeviceFromJson(std::string_view text)
{
    try
    {
        const auto json = Json::parse(text);
        if (const auto version = ValueOf<uint32_t>(json.at("version")); version != formatVersion)
        {
            throw Error("it has version {} of the format, this program reads version {}", version,
                        formatVersion);
        }
        DeviceRecord device;
        Loader loader(json);
        Each(loader, device);
        return device;
    }
    catch (const Json::exception &exception)
    {
        throw Error("{}", CauseOf(exception));
    }
}

} // namespace recording
