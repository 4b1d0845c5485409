#include "vision_module.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <vector>

namespace GenTL::internal
{

namespace
{

const std::vector<std::string> others{
#define CVL_CALLED(name)
#define CVL_OFFERED(name)
#define CVL_OTHER(name) #name,
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
};

std::vector<std::string> Listed()
{
    std::vector<std::string> names{
#define CVL_CALLED(name) "tarn_cvl_" #name,
#define CVL_OTHER(name) "tarn_cvl_" #name,
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
    };
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> Exported()
{
    const auto command = std::string("nm -D --defined-only --format=just-symbols ") + VisionModule::path;
    const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(command.c_str(), "r"), pclose);
    std::vector<std::string> names;
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), output.get()) != nullptr)
    {
        const std::string name(line.data());
        names.push_back(name.substr(0, name.find('\n')));
    }
    std::ranges::sort(names);
    return names;
}

Answered NotOffered(const std::string &name)
{
    return {TARN_CVL_NOT_SUPPORTED, "This vision module does not offer the function tarn_cvl_" + name};
}

} // namespace

class VisionExports : public VisionTest
{
};

TEST_F(VisionExports, AreJustTheFunctionsOfTheList)
{
    EXPECT_EQ(Listed().size(), 302U);
    EXPECT_EQ(Exported(), Listed());
}

TEST_F(VisionExports, SayWhichFunctionIsNotOffered)
{
    ASSERT_EQ(others.size(), 259U);
    for (const auto &name : others)
    {
        EXPECT_EQ(AnswerOf(vision.CallOther(name)), NotOffered(name));
    }
}

TEST_F(VisionExports, TakeOneExitTooManyForNoFailure)
{
    EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
    }
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
}

} // namespace GenTL::internal
