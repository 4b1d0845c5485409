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
    for (const auto &splice : m_splices)
    {
        if (splice.end > original.size())
        {
            throw std::logic_error("an edit lies outside of its text");
        }
    }
    return ApplyWithin(original, 0, original.size());
}

std::string SpliceList::ApplyWithin(std::string_view original, size_t begin, size_t end) const
{
    std::vector<const Splice *> sorted;
    size_t size = end - begin;
    for (const auto &splice : m_splices)
    {
        if (splice.begin >= begin && splice.end <= end)
        {
            sorted.push_back(&splice);
            size += splice.text.size();
        }
    }
    // An insertion ends where it begins, so it comes before a replacement at the same place.
    std::ranges::stable_sort(sorted, {},
                             [](const Splice *splice) { return std::tuple(splice->begin, splice->end); });
    std::string edited;
    edited.reserve(size);
    size_t done = begin;
    for (const auto *splice : sorted)
    {
        if (splice->begin < done || splice->end < splice->begin)
        {
            throw std::logic_error("edits of a text overlap");
        }
        edited += original.substr(done, splice->begin - done);
        edited += splice->text;
        done = splice->end;
    }
    edited += original.substr(done, end - done);
    return edited;
}

} // namespace GenTL::internal
