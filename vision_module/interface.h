#pragma once

// The C interface, with its functions visible outside of the library.

#pragma GCC visibility push(default)
#include <tarn_cvl/tarn_cvl.h>
#pragma GCC visibility pop
