#include "check/calls.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

namespace
{

struct NamedCode
{
    GC_ERROR code;
    std::string_view name;
};

// The preprocessor makes each name out of its enumerator.
#define CODE(name)                                                                                           \
    NamedCode                                                                                                \
    {                                                                                                        \
        name, #name                                                                                          \
    }

constexpr std::array namedCodes{
    CODE(GC_ERR_SUCCESS),
    CODE(GC_ERR_ERROR),
    CODE(GC_ERR_NOT_INITIALIZED),
    CODE(GC_ERR_NOT_IMPLEMENTED),
    CODE(GC_ERR_RESOURCE_IN_USE),
    CODE(GC_ERR_ACCESS_DENIED),
    CODE(GC_ERR_INVALID_HANDLE),
    CODE(GC_ERR_INVALID_ID),
    CODE(GC_ERR_NO_DATA),
    CODE(GC_ERR_INVALID_PARAMETER),
    CODE(GC_ERR_IO),
    CODE(GC_ERR_TIMEOUT),
    CODE(GC_ERR_ABORT),
    CODE(GC_ERR_INVALID_BUFFER),
    CODE(GC_ERR_NOT_AVAILABLE),
    CODE(GC_ERR_INVALID_ADDRESS),
    CODE(GC_ERR_BUFFER_TOO_SMALL),
    CODE(GC_ERR_INVALID_INDEX),
    CODE(GC_ERR_PARSING_CHUNK_DATA),
    CODE(GC_ERR_INVALID_VALUE),
    CODE(GC_ERR_RESOURCE_EXHAUSTED),
    CODE(GC_ERR_OUT_OF_MEMORY),
    CODE(GC_ERR_BUSY),
    CODE(GC_ERR_AMBIGUOUS),
};

#undef CODE

constexpr int Minor_BOOT = 0;
constexpr int Minor_1_0 = 0;
constexpr int Minor_1_1 = 1;
constexpr int Minor_1_3 = 3;
constexpr int Minor_1_4 = 4;
constexpr int Minor_1_5 = 5;
constexpr int Minor_1_6 = 6;

} // namespace

Calls::Calls(const std::string &file, int flags, Announce announce)
    : m_library(dlopen(file.c_str(), flags)), m_announce(std::move(announce))
{
    if (m_library == nullptr)
    {
        const auto *const cause = dlerror();
        throw std::runtime_error(cause != nullptr ? cause : "the loader gives no reason");
    }
#define FN(group, name, parameters, arguments)                                                               \
    m_table.name = reinterpret_cast<decltype(m_table.name)>(dlsym(m_library, #name));
#include <gentl/functions.inc>
#undef FN
}

Calls::~Calls()
{
    dlclose(m_library);
}

#define FN(group, name, parameters, arguments)                                                               \
    GC_ERROR Calls::name parameters                                                                          \
    {                                                                                                        \
        m_announce(#name);                                                                                   \
        return m_table.name != nullptr ? m_table.name arguments : GC_ERR_NOT_IMPLEMENTED;                    \
    }
#include <gentl/functions.inc>
#undef FN

bool Calls::Has(std::string_view function) const
{
#define FN(group, name, parameters, arguments)                                                               \
    if (function == #name)                                                                                   \
    {                                                                                                        \
        return m_table.name != nullptr;                                                                      \
    }
#include <gentl/functions.inc>
#undef FN
    return false;
}

std::string Calls::LastErrorText()
{
    GC_ERROR code = GC_ERR_SUCCESS;
    size_t size = 0;
    if (GCGetLastError(&code, nullptr, &size) != GC_ERR_SUCCESS || size == 0)
    {
        return {};
    }
    std::string text(size, '\0');
    return GCGetLastError(&code, text.data(), &size) == GC_ERR_SUCCESS ? text.substr(0, text.find('\0'))
                                                                       : std::string();
}

const std::vector<PublishedFunction> &PublishedFunctions()
{
    static const std::vector<PublishedFunction> functions{
#define FN(group, name, parameters, arguments) {#name, Minor_##group},
#include <gentl/functions.inc>
#undef FN
    };
    return functions;
}

std::string CodeName(GC_ERROR code)
{
    const auto known = std::ranges::find(namedCodes, code, &NamedCode::code);
    return known != namedCodes.end() ? fmt::format("{} ({})", known->name, code) : fmt::format("{}", code);
}

} // namespace gentlctl
