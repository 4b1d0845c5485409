#pragma once

#include <string_view>

namespace GenTL::internal::nodemap
{

/// The GenICam description of the System module: 27618 bytes of plain XML.
std::string_view SystemDescription();

/// The same with an entry for each published transport layer type.
std::string_view SystemDescriptionOfAllTypes();

/// The GenICam description of a Data Stream module: 24472 bytes of plain XML.
std::string_view DataStreamDescription();

} // namespace GenTL::internal::nodemap
