#include "content/fingerprintcatalogue.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace Nomly {

namespace {

// Fewer items than this (about two seconds) say too little to match on.
constexpr size_t MinQueryItems = 16;
// The share of the query that must lie over the entry at an offset.
constexpr double MinOverlapShare = 0.75;
// Unrelated sound differs in about half of the bits; the same recording,
// re-encoded or cut elsewhere, in well under a fifth.
constexpr double MaxBitErrorRate = 0.2;
// Silence and steady tones give nearly the same item again and again, which
// would line up with any quiet or steady stretch of a song.
constexpr double MinItemChangeRate = 0.08;

double changeRate(const std::vector<uint32_t> &items)
{
    if (items.size() < 2)
        return 0;
    size_t changed = 0;
    for (size_t i = 1; i < items.size(); ++i)
        changed += size_t(std::popcount(items[i] ^ items[i - 1]));
    return double(changed) / (32.0 * double(items.size() - 1));
}

// The lowest share of differing bits over the offsets at which most of the
// query lies over the entry.
double bestBitErrorRate(const std::vector<uint32_t> &query, const std::vector<uint32_t> &entry)
{
    const auto queryLength = std::ptrdiff_t(query.size());
    const auto entryLength = std::ptrdiff_t(entry.size());
    const auto minOverlap = std::ptrdiff_t(double(queryLength) * MinOverlapShare);
    double best = 1;
    for (std::ptrdiff_t offset = minOverlap - queryLength; offset <= entryLength - minOverlap; ++offset) {
        const std::ptrdiff_t first = std::max<std::ptrdiff_t>(0, -offset);
        const std::ptrdiff_t last = std::min(queryLength, entryLength - offset);
        if (last - first < minOverlap)
            continue;
        size_t differing = 0;
        for (std::ptrdiff_t i = first; i < last; ++i)
            differing += size_t(std::popcount(query[size_t(i)] ^ entry[size_t(i + offset)]));
        best = std::min(best, double(differing) / (32.0 * double(last - first)));
    }
    return best;
}

} // namespace

void FingerprintCatalogue::add(AudioFingerprint fingerprint, RecognizedMediaItem item)
{
    m_entries.emplace_back(std::move(fingerprint), std::move(item));
}

std::optional<RecognizedMediaItem> FingerprintCatalogue::match(const AudioFingerprint &fingerprint) const
{
    if (fingerprint.raw.size() < MinQueryItems || changeRate(fingerprint.raw) < MinItemChangeRate)
        return std::nullopt;
    const RecognizedMediaItem *found = nullptr;
    double best = MaxBitErrorRate;
    for (const auto &[entry, item] : m_entries) {
        if (const double rate = bestBitErrorRate(fingerprint.raw, entry.raw); rate < best) {
            best = rate;
            found = &item;
        }
    }
    if (!found)
        return std::nullopt;
    return *found;
}

} // namespace Nomly
