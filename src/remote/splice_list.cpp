#include "remote/splice_list.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace GenTL::internal
{

size_t SpliceList::SizeAfter(size_t originalSize) const
{
    size_t size = originalSize;
    for (const auto &splice : m_splices)
    {
        size += splice.text.size();
        size -= splice.end - splice.begin;
    }
    return size;
}

std::string SpliceList::Apply(std::string_view original) const
{
    std::vector<const Splice *> sorted;
    sorted.reserve(m_splices.size());
    for (const auto &splice : m_splices)
    {
        sorted.push_back(&splice);
    }
    // An insertion has the end of its begin, so it comes before a replacement of the same place.
    std::ranges::stable_sort(sorted, {},
                             [](const Splice *splice) { return std::tuple(splice->begin, splice->end); });
    std::string edited;
    edited.reserve(SizeAfter(original.size()));
    size_t done = 0;
    for (const auto *splice : sorted)
    {
        if (splice->begin < done || splice->end < splice->begin || splice->end > original.size())
        {
            throw std::logic_error("edits of a text overlap or lie outside of it");
        }
        edited += original.substr(done, splice->begin - done);
        edited += splice->text;
        done = splice->end;
    }
    edited += original.substr(done);
    return edited;
}

} // namespace GenTL::internal
