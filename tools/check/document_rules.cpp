#include "check/document_rules.h"

#include "genapi/node_graph.h"
#include "nodemap/description_location.h"
#include "nodemap/description_text.h"
#include "nodemap/unzip.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <exception>
#include <string_view>
#include <vector>

namespace gentlctl
{

using namespace GenTL;
using namespace GenTL::internal::genapi;

namespace
{

constexpr int schemaMajor = 1;
constexpr int schemaMinor = 1;
constexpr size_t mostNames = 5;

const Verdict hasTail{Level::WillHurt, "Aravis and others that take bytes behind the end for an error",
                      "let the URL tell the size of the document, not that of the memory"};
const Verdict isNoDocument{Level::Broken, "every consumer: it finds no feature of this module",
                           "store a GenICam description that an XML parser reads"};

bool EndsWithZip(std::string_view name)
{
    std::string ending(name.substr(std::min(name.size(), name.find_last_of('.') + 1)));
    std::ranges::transform(ending, ending.begin(), [](char letter) { return std::tolower(letter); });
    return ending == "zip";
}

/// The document without the archive around it; nothing, and a finding, when that is broken.
std::vector<uint8_t> Unpacked(Trial &trial, const DocumentClaim &claim, std::span<const uint8_t> bytes)
{
    const bool isZip = internal::IsZip(bytes);
    const auto name = internal::ParseLocation(claim.url).Name;
    if (isZip != EndsWithZip(name))
    {
        trial.Add(claim.url,
                  isZip ? "names a plain document and holds an archive" : "names an archive and holds none",
                  {Level::WillHurt, "consumers that go by the name",
                   "let the name in the URL end in .zip for an archive, and in .xml for a plain document"});
    }
    if (!isZip)
    {
        return {bytes.begin(), bytes.end()};
    }
    const auto archive = internal::WithoutTail(bytes);
    if (archive.size() != bytes.size())
    {
        trial.Add(claim.url, fmt::format("{} bytes stand behind the archive", bytes.size() - archive.size()),
                  hasTail);
    }
    try
    {
        return internal::Unzip(archive.data(), archive.size());
    }
    catch (const std::exception &exception)
    {
        trial.Add(claim.url, exception.what(), isNoDocument);
        return {};
    }
}

bool IsUtf8Document(std::string_view text)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.substr(text.starts_with(mark) ? mark.size() : 0).starts_with('<');
}

/// Looks for bytes behind the last tag. White space is allowed there.
void CheckTail(Trial &trial, const DocumentClaim &claim, std::string_view document)
{
    if (!IsUtf8Document(document))
    {
        return;
    }
    constexpr std::string_view closing = "RegisterDescription>";
    const auto place = document.rfind(closing);
    const auto tail = place == std::string_view::npos ? "" : document.substr(place + closing.size());
    if (tail.find_first_not_of(" \t\r\n") != std::string_view::npos)
    {
        trial.Add(claim.url, fmt::format("{} bytes stand behind the document", tail.size()), hasTail);
    }
}

void CheckSchema(Trial &trial, const DocumentClaim &claim, const pugi::xml_node &root)
{
    const int major = root.attribute("SchemaMajorVersion").as_int();
    const int minor = root.attribute("SchemaMinorVersion").as_int();
    if (major != schemaMajor || minor != schemaMinor)
    {
        trial.Add(
            "SchemaMajorVersion, SchemaMinorVersion",
            fmt::format("the description is of schema {}.{}", major, minor),
            {Level::WillHurt, "readers that know schema 1.1 only", "write the description in schema 1.1"});
    }
    if (major != claim.schemaMajor || minor != claim.schemaMinor)
    {
        trial.Add("GCGetPortURLInfo(URL_INFO_SCHEMA_VER_MAJOR)",
                  fmt::format("tells schema {}.{}, the description is of {}.{}", claim.schemaMajor,
                              claim.schemaMinor, major, minor),
                  {Level::WillHurt, "consumers that choose among URLs by schema",
                   "answer what the description says"});
    }
}

void CheckChunkIds(Trial &trial, const NodeGraph &graph)
{
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        const auto *const chunk = graph.Find(id, Tag::ChunkID);
        auto digits = chunk != nullptr ? chunk->Text() : std::string_view();
        digits.remove_prefix(digits.starts_with("0x") || digits.starts_with("0X") ? 2 : 0);
        if (digits.size() % 2 != 0)
        {
            trial.Add(
                fmt::format("ChunkID of {}", graph.Label(id)),
                fmt::format("\"{}\" has an odd number of digits", digits),
                {Level::WillHurt, "readers that validate refuse the whole description", "write a leading 0"});
        }
    }
}

bool IsReference(const Property &property)
{
    const std::string_view name = property.element.name();
    return name.starts_with('p') && name != "pError";
}

void CheckReferences(Trial &trial, const NodeGraph &graph)
{
    std::string names;
    size_t count = 0;
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        for (const auto &property : graph.PropertiesOf(id))
        {
            if (!IsReference(property) || property.target != noNode)
            {
                continue;
            }
            ++count;
            names += count > mostNames ? std::string()
                                       : fmt::format("{}{} of {}", names.empty() ? "" : ", ", property.Text(),
                                                     graph.Label(id));
        }
    }
    if (count != 0)
    {
        trial.Add("references", fmt::format("{} name a node that is not there: {}", count, names),
                  {Level::WillHurt, "readers that resolve all references when they load",
                   "add the nodes, or take the references out"});
    }
}

void CheckNodes(Trial &trial, const pugi::xml_node &root)
{
    try
    {
        const NodeGraph graph(root);
        CheckChunkIds(trial, graph);
        CheckReferences(trial, graph);
        if (graph.Find("Root") == noNode)
        {
            trial.Add("Category Root", "is not there",
                      {Level::WillHurt, "consumers that list features find none",
                       "add the category Root with the categories of the features"});
        }
    }
    catch (const GenTL::internal::GenTLException &exception)
    {
        trial.Add("nodes", exception.what(), isNoDocument);
    }
}

} // namespace

void CheckDocument(Trial &trial, const DocumentClaim &claim, std::span<const uint8_t> bytes)
{
    const auto document = Unpacked(trial, claim, bytes);
    if (document.empty())
    {
        return;
    }
    const auto text = internal::DescriptionText(document);
    CheckTail(trial, claim, {reinterpret_cast<const char *>(document.data()), document.size()});
    pugi::xml_document parsed;
    const auto result =
        parsed.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    std::string_view root = parsed.document_element().name();
    root.remove_prefix(root.find(':') + 1);
    if (!result || root != "RegisterDescription")
    {
        trial.Add(claim.url, result ? "holds no RegisterDescription" : result.description(), isNoDocument);
        return;
    }
    CheckSchema(trial, claim, parsed.document_element());
    CheckNodes(trial, parsed.document_element());
}

} // namespace gentlctl
