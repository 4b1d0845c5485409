#pragma once

#include <cstdint>

namespace tarn::vision
{

/// The result of a function that this module does not offer. `name` is its name in the list of functions.
int32_t NotOffered(const char *name) noexcept;

} // namespace tarn::vision
