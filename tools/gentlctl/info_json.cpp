#include "gentlctl/info_json.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <variant>

namespace gentlctl
{
namespace
{

struct ToJsonVisitor
{
    template <typename T>
    Json operator()(const T &value) const
    {
        return value;
    }
    Json operator()(const uint8_t *address) const
    {
        return fmt::format("0x{:x}", reinterpret_cast<uintptr_t>(address));
    }
    Json operator()(const OpaqueInfo &opaque) const { return fmt::format("({} bytes)", opaque.size); }
    Json operator()(const InfoError &error) const { return {{"error", error.code}, {"text", error.text}}; }
};

} // namespace

Json ToJson(const InfoValue &value)
{
    return std::visit(ToJsonVisitor{}, value);
}

Json ToJson(const std::vector<InfoAnswer> &answers)
{
    auto json = Json::object();
    for (const auto &answer : answers)
    {
        json[std::string(answer.name)] = ToJson(answer.value);
    }
    return json;
}

} // namespace gentlctl
