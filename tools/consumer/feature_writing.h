#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <string>

namespace gentlctl
{

/// Writes a value given as text; a command takes any text.
/// @throws std::runtime_error the text is no value of the feature's type, or the feature cannot be written
/// @throws GenTLException the port refuses the value
void WriteFeature(GenTL::internal::IPort &port, const GenTL::internal::nodemap::NodeMapParser &nodes,
                  const GenTL::internal::nodemap::NodeInfo &node, const std::string &value);

} // namespace gentlctl
