#pragma once

#include <cstdint>

namespace tarn::vision
{

/// The answer of a function that this module does not offer; `name` as in the list of functions.
int32_t NotOffered(const char *name) noexcept;

} // namespace tarn::vision
