#include "utils/class_func_formatter.h"

#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

struct Signature
{
    std::string_view text;
    std::string_view printed;
};

class LogFunctionName : public testing::TestWithParam<Signature>
{
};

TEST_P(LogFunctionName, IsTheLastTwoComponentsOfTheSignature)
{
    EXPECT_EQ(ClassAndFunction(GetParam().text), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(
    Signatures, LogFunctionName,
    testing::Values(
        Signature{"virtual void GenTL::internal::Library::Initialize()", "Library::Initialize"},
        Signature{
            "void GenTL::internal::GenTLProxy::ExecuteOrThrow(const std::string_view &, Func, Args &&...) "
            "[Func = int, Args = <>]",
            "GenTLProxy::ExecuteOrThrow"},
        Signature{"void GenTL::internal::InstanceManager::Registry<void *, "
                  "GenTL::internal::System>::ClearAndWarn(std::string_view) [H = void *]",
                  "System>::ClearAndWarn"},
        Signature{"GC_ERROR GenTL::GCGetLastError(GC_ERROR *, char *, size_t *)",
                  "GC_ERROR GenTL::GCGetLastError"},
        Signature{"GenTL::GC_ERROR (anonymous namespace)::GenTLCall(std::string_view, Body)",
                  "GenTL::GC_ERROR "},
        Signature{"", ""}, Signature{"main", "main"}, Signature{"int main(int)", "int main"},
        Signature{"::global()", "::global"}, Signature{"a::b::c", "b::c"}, Signature{"(x)", ""}));

TEST(LogFunctionName, IsAppendedWithoutPadding)
{
    spdlog::pattern_formatter formatter(spdlog::pattern_time_type::local, "");
    formatter.add_flag<ClassFuncFormatter>('*').set_pattern("<%*>");
    spdlog::memory_buf_t output;
    formatter.clone()->format(spdlog::details::log_msg(spdlog::source_loc{"f.cpp", 1, "void A::B::C()"}, "x",
                                                       spdlog::level::info, "m"),
                              output);
    EXPECT_EQ(std::string(output.data(), output.size()), "<B::C>");
}

} // namespace
} // namespace GenTL::internal
