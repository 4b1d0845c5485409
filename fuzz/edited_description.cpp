// A device's description in any encoding: what parses can be edited, and the edited document parses again.

#include "genapi/node_graph.h"
#include "nodemap/description_text.h"
#include "remote/description_editor.h"
#include "require.h"
#include "utils/try.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace
{

using namespace GenTL::internal;

const ConversionTable &Conversions()
{
    using tarn::common::wideFormats;
    static const ConversionTable conversions(
        {{wideFormats.Find("Mono12p"), wideFormats.Find("Mono12")},
         {wideFormats.Find("Mono12Packed"), wideFormats.Find("Mono12")}});
    return conversions;
}

bool Parse(std::string_view text, pugi::xml_document &tree)
{
    return tree.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8) &&
           tree.document_element();
}

/// The graph of a document; null for one beyond its limits.
std::unique_ptr<genapi::NodeGraph> GraphOf(const pugi::xml_document &tree)
{
    return utils::Try([&] { return std::make_unique<genapi::NodeGraph>(tree); }).value_or(nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto text = DescriptionText({data, size});
    pugi::xml_document tree;
    if (!Parse(text, tree))
    {
        return 0;
    }
    if (const auto graph = GraphOf(tree))
    {
        const auto edited =
            DescriptionEditor({text, tree.document_element(), *graph, {}}, Conversions()).Edit();
        pugi::xml_document again;
        Require(Parse(edited.document, again));
    }
    return 0;
}
