#include "simulator/images/reason.h"

#include <fmt/format.h>

#include <iterator>

namespace GenTL::simulator
{

void WriteReason(const std::exception &error, QvrReason *reason)
{
    const auto end = fmt::format_to_n(reason->text, std::size(reason->text) - 1, "{}", error.what());
    *end.out = '\0';
}

} // namespace GenTL::simulator
