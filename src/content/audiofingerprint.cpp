#include "content/audiofingerprint.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <chromaprint.h>

namespace Nomly {

namespace {

struct ContextDeleter
{
    void operator()(ChromaprintContext *context) const { chromaprint_free(context); }
};

// Fed in parts so that no single call takes more than an int's worth.
constexpr size_t FeedSamples = 1 << 16;

} // namespace

std::optional<AudioFingerprint> AudioFingerprint::of(const PCMAudio &audio)
{
    if (audio.sampleRate <= 0 || audio.samples.empty())
        return std::nullopt;
    const std::unique_ptr<ChromaprintContext, ContextDeleter> context(chromaprint_new(CHROMAPRINT_ALGORITHM_DEFAULT));
    if (!context || !chromaprint_start(context.get(), audio.sampleRate, 1))
        return std::nullopt;
    for (size_t offset = 0; offset < audio.samples.size(); offset += FeedSamples) {
        const size_t count = std::min(FeedSamples, audio.samples.size() - offset);
        if (!chromaprint_feed(context.get(), audio.samples.data() + offset, int(count)))
            return std::nullopt;
    }
    if (!chromaprint_finish(context.get()))
        return std::nullopt;
    uint32_t *items = nullptr;
    int size = 0;
    if (!chromaprint_get_raw_fingerprint(context.get(), &items, &size) || !items)
        return std::nullopt;
    const std::unique_ptr<uint32_t, decltype(&chromaprint_dealloc)> owned(items, &chromaprint_dealloc);
    if (size <= 0)
        return std::nullopt;
    AudioFingerprint fingerprint;
    fingerprint.raw.assign(items, items + size);
    fingerprint.durationSeconds = audio.durationSeconds();
    fingerprint.itemSeconds = chromaprint_get_item_duration_ms(context.get()) / 1000.0;
    return fingerprint;
}

AudioFingerprint AudioFingerprint::slice(double startSeconds, double lengthSeconds) const
{
    AudioFingerprint part;
    part.itemSeconds = itemSeconds;
    if (itemSeconds <= 0 || !std::isfinite(startSeconds) || !std::isfinite(lengthSeconds) || lengthSeconds <= 0)
        return part;
    const double start = std::clamp(startSeconds, 0.0, durationSeconds);
    const double end = std::min(durationSeconds, start + lengthSeconds);
    const size_t first = std::min(raw.size(), size_t(std::floor(start / itemSeconds)));
    const size_t last = std::min(raw.size(), size_t(std::ceil(end / itemSeconds)));
    part.raw.assign(raw.begin() + std::ptrdiff_t(first), raw.begin() + std::ptrdiff_t(std::max(first, last)));
    part.durationSeconds = end - start;
    return part;
}

} // namespace Nomly
