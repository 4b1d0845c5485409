#pragma once

#include "utils/gentl_exception.h"

#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>

namespace GenTL::internal
{

/// What an action threw, for comparison with what it should have thrown.
struct Failure
{
    std::string text;
    /// Code of a GenTLException; GC_ERR_ERROR for any other std::exception; 0 when nothing was thrown.
    GC_ERROR code{};
    /// Whether the exception was a GenTLException.
    bool isGenTL = true;

    friend bool operator==(const Failure &, const Failure &) = default;

    friend std::ostream &operator<<(std::ostream &stream, const Failure &failure)
    {
        return stream << '"' << failure.text << "\" (" << failure.code
                      << (failure.isGenTL ? ")" : ", plain)");
    }
};

inline Failure PlainFailure(std::string text)
{
    return {std::move(text), GC_ERR_ERROR, false};
}

template <typename Action>
Failure FailureOf(Action action)
{
    try
    {
        action();
    }
    catch (const GenTLException &exception)
    {
        return {exception.what(), exception.Code()};
    }
    catch (const std::exception &exception)
    {
        return PlainFailure(exception.what());
    }
    return {};
}

/// What the making of a fixture's object throws.
template <typename Fixture>
Failure MakeFailure(Fixture &fixture)
{
    return FailureOf([&] { fixture.Make(); });
}

} // namespace GenTL::internal
