#include "profile/profile.h"

#include "profile_table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace GenTL::internal
{
namespace
{

TEST(Profile, DefaultsToTheFirstProducer)
{
    const Profile profile;
    EXPECT_EQ(profile.identity.id, "Proxy Transport Layer");
    EXPECT_EQ(profile.identity.lowerPathVariable, "PROXY_TL_CTI_PATH");
    EXPECT_TRUE(profile.lower.needsVisionLibrary);
    EXPECT_FALSE(profile.admission.allModels);
}

TEST(Profile, DocumentHasTheValuesOfTheList)
{
    std::ifstream file(QVR_SOURCE_DIR "/docs/profiles.md");
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(document, ProfileTable()) << "bin/profile_table prints docs/profiles.md";
}

} // namespace
} // namespace GenTL::internal
