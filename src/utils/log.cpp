#include "utils/log.h"

#if FMT_VERSION / 10000 == 9
template void fmt::detail::vformat_to<char>(fmt::detail::buffer<char> &, fmt::string_view, fmt::format_args,
                                            fmt::detail::locale_ref);
#endif
