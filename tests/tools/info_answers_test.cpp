#include "consumer/info_answers.h"

#include "gentlctl/info_json.h"
#include "support/typed_answer.h"
#include "utils/gentl_exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using internal::GenTLException;
using internal::TypedAnswer;

/// An info query that gets this answer.
InfoQuery Query(const TypedAnswer &answer)
{
    return [answer](INFO_DATATYPE *type, void *buffer, size_t *size)
    {
        *type = answer.type;
        *size = answer.bytes.size();
        if (buffer != nullptr)
        {
            std::ranges::copy(answer.bytes, static_cast<uint8_t *>(buffer));
        }
    };
}

InfoQuery FailingQuery()
{
    return [](INFO_DATATYPE *, void *, size_t *) { throw GenTLException("Nothing there", GC_ERR_NO_DATA); };
}

std::string JsonOf(const TypedAnswer &answer)
{
    return ToJson(Answer(Query(answer))).dump();
}

TEST(InfoAnswer, KeepsTheSignAndWidthOfANumber)
{
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_INT16, int16_t{-2})), "-2");
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_UINT16, uint16_t{65535})), "65535");
    EXPECT_EQ(JsonOf(TypedAnswer::Int32(-7)), "-7");
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_UINT32, uint32_t{4294967295U})), "4294967295");
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_INT64, std::numeric_limits<int64_t>::min())),
              "-9223372036854775808");
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_PTRDIFF, int64_t{-1})), "-1");
    EXPECT_EQ(JsonOf(TypedAnswer::Uint64(std::numeric_limits<uint64_t>::max())), "18446744073709551615");
    EXPECT_EQ(JsonOf(TypedAnswer::Size(3)), "3");
    EXPECT_EQ(JsonOf(TypedAnswer::Of(INFO_DATATYPE_FLOAT64, 0.5)), "0.5");
}

TEST(InfoAnswer, IsPrintedAsItsTypeIsRead)
{
    EXPECT_EQ(JsonOf(TypedAnswer::Bool(true)), "true");
    EXPECT_EQ(JsonOf(TypedAnswer::Text("name")), "\"name\"");
    EXPECT_EQ(JsonOf(TypedAnswer::Pointer(reinterpret_cast<void *>(0xAB00))), "\"0xab00\"");
    EXPECT_EQ(JsonOf(TypedAnswer::Pointer(nullptr)), "\"0x0\"");
    EXPECT_EQ(JsonOf({INFO_DATATYPE_BUFFER, {1, 2, 3}}), "\"(3 bytes)\"");
}

TEST(InfoAnswer, IsANumberOnlyIfItsTypeIs)
{
    EXPECT_EQ(TryNumber(Query(TypedAnswer::Int32(7))), 7U);
    EXPECT_EQ(TryNumber(Query(TypedAnswer::Size(8))), 8U);
    EXPECT_EQ(TryNumber(Query(TypedAnswer::Bool(true))), std::nullopt);
    EXPECT_EQ(TryNumber(Query(TypedAnswer::Text("9"))), std::nullopt);
    EXPECT_EQ(TryNumber(FailingQuery()), std::nullopt);
}

TEST(InfoAnswer, IsATextOnlyIfItsTypeIs)
{
    EXPECT_EQ(TextAnswer(Query(TypedAnswer::Text("name"))), "name");
    EXPECT_EQ(TextAnswer(Query(TypedAnswer::Int32(7))), "");
    EXPECT_EQ(TextAnswer(FailingQuery()), "");
}

TEST(InfoAnswers, HaveTheFailureInPlaceOfTheValue)
{
    const auto answers = Answers(UrlInfoCommands(),
                                 [](int32_t command, INFO_DATATYPE *type, void *buffer, size_t *size)
                                 {
                                     command == URL_INFO_SCHEME
                                         ? Query(TypedAnswer::Int32(1))(type, buffer, size)
                                         : FailingQuery()(type, buffer, size);
                                 });
    ASSERT_EQ(answers.size(), UrlInfoCommands().size());
    const auto json = ToJson(answers);
    EXPECT_EQ(json["URL_INFO_SCHEME"], 1);
    EXPECT_EQ(json["URL_INFO_URL"], (Json{{"error", GC_ERR_NO_DATA}, {"text", "Nothing there"}}));
    EXPECT_EQ(json.begin().key(), "URL_INFO_URL");
}

} // namespace
} // namespace gentlctl
