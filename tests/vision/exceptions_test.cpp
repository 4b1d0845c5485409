#include "vision_test.h"

#include "vision/status.h"

#include <type_traits>

namespace GenTL::internal
{
namespace
{

using namespace tarn;

/// The text that a handler for `Caught` gets; empty when the handler does not match.
template <typename Caught>
std::string TextCaughtAs(void (*action)())
{
    try
    {
        action();
    }
    catch (const Caught &exception)
    {
        return exception.what();
    }
    catch (...)
    {
    }
    return {};
}

template <int32_t status>
void Fail()
{
    cvl::ThrowStatus(status);
}

template <int32_t status, typename Class>
void ExpectCaughtByItsBases()
{
    SCOPED_TRACE(status);
    const std::string text = std::is_same_v<Class, cvl::Exception> ? "Generic Error!" : "vision failed";
    EXPECT_EQ(TextCaughtAs<std::exception>(Fail<status>), text);
    EXPECT_EQ(TextCaughtAs<std::runtime_error>(Fail<status>), text);
    EXPECT_EQ(TextCaughtAs<common::Exception>(Fail<status>), text);
    EXPECT_EQ(TextCaughtAs<cvl::Exception>(Fail<status>), text);
    EXPECT_EQ(TextCaughtAs<Class>(Fail<status>), text);
}

class VisionException : public VisionTest
{
protected:
    void SetUp() override
    {
        vision->FailNext("Init", TARN_CVL_IO);
        cvl::dynamic::Init(); // leaves a last error
    }
};

TEST_F(VisionException, IsCaughtByEachOfItsBases)
{
    ExpectCaughtByItsBases<1, cvl::InvalidConfigurationException>();
    ExpectCaughtByItsBases<2, cvl::InvalidConfigurationException>();
    ExpectCaughtByItsBases<3, cvl::MismatchException>();
    ExpectCaughtByItsBases<4, cvl::NotSupportedException>();
    ExpectCaughtByItsBases<5, cvl::NotPossibleException>();
    ExpectCaughtByItsBases<6, cvl::NullPointerException>();
    ExpectCaughtByItsBases<7, cvl::InternalErrorException>();
    ExpectCaughtByItsBases<8, cvl::OutOfRangeException>();
    ExpectCaughtByItsBases<9, cvl::MathErrorException>();
    ExpectCaughtByItsBases<10, cvl::TargetNotFoundException>();
    ExpectCaughtByItsBases<11, cvl::CorruptedException>();
    ExpectCaughtByItsBases<12, cvl::IOException>();
    ExpectCaughtByItsBases<13, cvl::InternalErrorException>();
    ExpectCaughtByItsBases<14, cvl::InternalErrorException>();
    ExpectCaughtByItsBases<15, cvl::Exception>();
}

TEST_F(VisionException, IsCaughtAsTheCommonErrorOfItsName)
{
    EXPECT_EQ(TextCaughtAs<common::NotSupportedException>(Fail<4>), "vision failed");
    EXPECT_EQ(TextCaughtAs<common::InternalErrorException>(Fail<7>), "vision failed");
    EXPECT_EQ(TextCaughtAs<common::OutOfRangeException>(Fail<8>), "vision failed");
    EXPECT_EQ(TextCaughtAs<common::IOException>(Fail<12>), "vision failed");
    EXPECT_EQ(TextCaughtAs<common::InternalErrorException>(Fail<13>), "vision failed");
    EXPECT_EQ(TextCaughtAs<common::InternalErrorException>(Fail<14>), "vision failed");
}

TEST_F(VisionException, WithoutANamesakeIsNoneOfTheValueTypesErrors)
{
    EXPECT_EQ(TextCaughtAs<common::InternalErrorException>(Fail<15>), "");
    EXPECT_EQ(TextCaughtAs<common::InvalidParameterException>(Fail<1>), "");
    EXPECT_EQ(TextCaughtAs<common::IOException>(Fail<11>), "");
    EXPECT_EQ(TextCaughtAs<common::NotSupportedException>(Fail<5>), "");
}

// A failure to load the library is not an error of the library.
static_assert(std::is_base_of_v<std::runtime_error, cvl::dynamic::LoadLibraryException>);
static_assert(!std::is_base_of_v<common::Exception, cvl::dynamic::LoadLibraryException>);

} // namespace
} // namespace GenTL::internal
