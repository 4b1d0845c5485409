#include "simulator/recordings/file_url.h"

#include "nodemap/description_location.h"

#include <gtest/gtest.h>

#include <string>

using namespace GenTL;
using GenTL::simulator::FileUrl;

TEST(FileUrl, HasPlainLettersAsTheyAre)
{
    EXPECT_EQ(FileUrl("/tmp/a_B-1.2~/description.xml"), "file:///tmp/a_B-1.2~/description.xml");
}

TEST(FileUrl, LeadsToAFolderOfAnyName)
{
    for (const std::string path : {"/a b/c", "/100%/x", "/100%41/x", "/what?/x", "/a#1;2/x", "/\xC3\xBC/x"})
    {
        EXPECT_EQ(internal::ParseLocation(FileUrl(path)).Path, path);
    }
}
