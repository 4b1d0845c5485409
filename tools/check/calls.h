#pragma once

#include <gentl/gentl.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

// The list of functions names its types without a namespace.
using namespace GenTL;

/// A producer's file, loaded as it is: its functions by their names, each with the code that it returns.
///
/// Unlike the producer of the consumer library, it needs no function to be there and initialises nothing. For
/// one thread at a time, except that EventKill may end a wait.
class Calls
{
public:
    /// Called before each call, with the name of the function.
    using Announce = std::function<void(std::string_view function)>;

    /// @param flags of dlopen
    /// @throws std::runtime_error the file cannot be loaded; the text is the loader's
    Calls(const std::string &file, int flags, Announce announce);
    Calls(const Calls &) = delete;
    Calls &operator=(const Calls &) = delete;
    ~Calls();

    // A function that the file lacks answers GC_ERR_NOT_IMPLEMENTED.
#define FN(group, name, parameters, arguments) GenTL::GC_ERROR name parameters;
#include <gentl/functions.inc>
#undef FN

    bool Has(std::string_view function) const;

    /// The text of the last error; empty when there is none.
    std::string LastErrorText();

private:
    struct Table
    {
#define FN(group, name, parameters, arguments) decltype(&GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN
    };

    void *m_library;
    Table m_table;
    Announce m_announce;
};

/// A function of the published list.
struct PublishedFunction
{
    std::string_view name;
    int minor; ///< the version 1.N that added it
};

/// All of them, in the order of the list.
const std::vector<PublishedFunction> &PublishedFunctions();

/// "GC_ERR_TIMEOUT (-1011)".
std::string CodeName(GenTL::GC_ERROR code);

} // namespace gentlctl
