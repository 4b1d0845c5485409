#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Edits of a text by byte offset, applied together. All offsets are those of the original text.
///
/// A plain value, for one thread at a time.
class SpliceList
{
public:
    /// Inserts before the byte at `offset`. Texts inserted at one offset keep the order of the calls.
    void Insert(size_t offset, std::string text) { Replace(offset, offset, std::move(text)); }
    /// Replaces the bytes from `begin` up to, but not including, `end`.
    void Replace(size_t begin, size_t end, std::string text)
    {
        m_splices.push_back({begin, end, std::move(text)});
    }

    /// Takes over all edits of another list for the same text.
    void Add(const SpliceList &other)
    {
        m_splices.insert(m_splices.end(), other.m_splices.begin(), other.m_splices.end());
    }

    /// Bytes of the edited text.
    size_t SizeAfter(size_t originalSize) const;
    /// The edited text. Without edits it equals the original.
    /// @throws std::logic_error edits that overlap, or lie outside of the text
    std::string Apply(std::string_view original) const;
    /// A part of the edited text: the bytes from `begin` up to `end` of the original with the edits that lie
    /// inside.
    std::string ApplyWithin(std::string_view original, size_t begin, size_t end) const;

private:
    struct Splice
    {
        size_t begin;
        size_t end;
        std::string text;
    };

    std::vector<Splice> m_splices;
};

} // namespace GenTL::internal
