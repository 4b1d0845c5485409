// Formulas of a description: every text has a value or throws an exception.

#include "nodemap/math_expression_parser.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal::nodemap;
    try
    {
        MathExpressionParser parser({reinterpret_cast<const char *>(data), size},
                                    {{"A", 3.0}, {"B", -0.5}, {"C", 1e300}});
        parser.Parse();
        parser.Expect(TokenType::End);
    }
    catch (const std::exception &) // NOLINT(bugprone-empty-catch)
    {
    }
    return 0;
}
