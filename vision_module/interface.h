#pragma once

// The C interface. Its functions are visible outside the library.

#pragma GCC visibility push(default)
#include <tarn_cvl/tarn_cvl.h>
#pragma GCC visibility pop
