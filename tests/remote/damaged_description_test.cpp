#include "edited_fixture.h"

#include "nodemap/description_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace edited;

/// The text with one to three damages: a changed byte, an erased part, or a part copied elsewhere.
std::string Damaged(std::string text, std::mt19937 &random)
{
    const auto place = [&] { return std::uniform_int_distribution<size_t>(0, text.size() - 1)(random); };
    for (auto i = random() % 3; i < 3; ++i)
    {
        const auto from = place();
        const auto to = place();
        switch (random() % 4)
        {
        case 0:
            text[from] = static_cast<char>(random());
            break;
        case 1:
            text.erase(from, random() % 40);
            break;
        case 2:
            text.insert(to, text.substr(from, random() % 60));
            break;
        default:
            // Whole elements, which leave the text well-formed more often.
            const auto begin = text.find("\n  <", from);
            const auto end = begin == std::string::npos ? begin : text.find("\n  </", begin);
            const auto behind = end == std::string::npos ? end : text.find('>', end);
            const auto target = text.find("\n  <", to);
            if (behind != std::string::npos && target != std::string::npos)
            {
                text.insert(target, text.substr(begin, behind + 1 - begin));
            }
            break;
        }
    }
    return text;
}

struct DamagedDescription : testing::TestWithParam<std::string>
{
};

TEST_P(DamagedDescription, GivesAWellFormedDocumentOrAnError)
{
    std::mt19937 random(17);
    const auto whole = Fixture(GetParam());
    int edits = 0;
    for (int i = 0; i < 200; ++i)
    {
        const auto damaged = Damaged(whole, random);
        const auto text = DescriptionText(std::vector<uint8_t>(damaged.begin(), damaged.end()));
        pugi::xml_document tree;
        if (!tree.load_buffer(text.data(), text.size()) || !tree.document_element())
        {
            continue;
        }
        // Whatever parses can be edited, and parses again.
        EXPECT_NO_THROW(const Edit edit(text)) << text;
        ++edits;
    }
    EXPECT_GT(edits, 0);
}

INSTANTIATE_TEST_SUITE_P(All, DamagedDescription, testing::ValuesIn(AllFixtures()),
                         [](const auto &name) { return name.param; });

} // namespace
} // namespace GenTL::internal
