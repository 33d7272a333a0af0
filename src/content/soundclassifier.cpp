#include "content/soundclassifier.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace Nomly {

namespace {

// Frames of 30 ms, 15 ms apart: short enough that a vowel is steady in one,
// long enough to hold two periods of a low voice.
constexpr int FrameLength = 480;
constexpr int FrameHop = 240;
constexpr int FftSize = 1024;
constexpr int WindowFrames = 66; // about one second
constexpr int WindowHopFrames = 33;

constexpr double MinPitchHz = 60;
constexpr double MaxPitchHz = 400;
constexpr double SpectrumLowHz = 100;
constexpr double SpectrumHighHz = 6000;
constexpr int BandCount = 16;

constexpr double SilentDecibels = -55;
// Frames this far below the window's loudest take no part in its character.
constexpr double ActiveRangeDecibels = 35;
constexpr double VoicedPeriodicity = 0.6;
// A frame whose band levels moved this much from two frames before starts
// a new sound.
constexpr double ChangingFluxDecibels = 4;

// The transform of `Size` real values through one of half the size, with
// its tables made once: the classifier runs two per frame.
class RealFourierTransform
{
public:
    static constexpr int Size = FftSize;
    static constexpr int Half = Size / 2;

    RealFourierTransform()
    {
        for (int i = 0, j = 0; i < Half; ++i) {
            m_reversed[size_t(i)] = j;
            int bit = Half >> 1;
            for (; j & bit; bit >>= 1)
                j ^= bit;
            j ^= bit;
        }
        for (int k = 0; k < Half; ++k) {
            m_cosines[size_t(k)] = std::cos(2 * std::numbers::pi * k / Size);
            m_sines[size_t(k)] = std::sin(2 * std::numbers::pi * k / Size);
        }
    }

    // The bins 0 to Half of the transform of `input` (Size values).
    void transform(const double *input, double *real, double *imaginary)
    {
        // Even values as the real parts, odd ones as the imaginary parts.
        for (int i = 0; i < Half; ++i) {
            const int to = m_reversed[size_t(i)];
            m_real[size_t(to)] = input[2 * i];
            m_imaginary[size_t(to)] = input[2 * i + 1];
        }
        for (int length = 2; length <= Half; length <<= 1) {
            const int stride = Size / length;
            for (int start = 0; start < Half; start += length) {
                for (int k = 0; k < length / 2; ++k) {
                    const double c = m_cosines[size_t(k * stride)];
                    const double s = -m_sines[size_t(k * stride)];
                    const size_t even = size_t(start + k);
                    const size_t odd = even + size_t(length / 2);
                    const double oddReal = m_real[odd] * c - m_imaginary[odd] * s;
                    const double oddImaginary = m_real[odd] * s + m_imaginary[odd] * c;
                    m_real[odd] = m_real[even] - oddReal;
                    m_imaginary[odd] = m_imaginary[even] - oddImaginary;
                    m_real[even] += oddReal;
                    m_imaginary[even] += oddImaginary;
                }
            }
        }
        // Untangles the halves: X[k] = E[k] + w^k O[k].
        for (int k = 0; k <= Half; ++k) {
            const size_t a = size_t(k % Half);
            const size_t b = size_t((Half - k) % Half);
            const double evenReal = (m_real[a] + m_real[b]) / 2;
            const double evenImaginary = (m_imaginary[a] - m_imaginary[b]) / 2;
            const double oddReal = (m_imaginary[a] + m_imaginary[b]) / 2;
            const double oddImaginary = -(m_real[a] - m_real[b]) / 2;
            const double c = k < Half ? m_cosines[size_t(k)] : -1;
            const double s = k < Half ? -m_sines[size_t(k)] : 0;
            real[k] = evenReal + oddReal * c - oddImaginary * s;
            imaginary[k] = evenImaginary + oddReal * s + oddImaginary * c;
        }
    }

private:
    std::array<int, Half> m_reversed {};
    std::array<double, Half> m_cosines {};
    std::array<double, Half> m_sines {};
    std::array<double, Half> m_real {};
    std::array<double, Half> m_imaginary {};
};

struct FrameFeatures
{
    double decibels = -120;
    double zeroCrossingRate = 0;
    // Geometric over arithmetic mean of the power spectrum: near 1 for
    // noise, near 0 for a few pure partials.
    double flatness = 0;
    // The share of the power in the strongest narrow peak.
    double peakShare = 0;
    // The normalised autocorrelation at the best pitch lag.
    double periodicity = 0;
    std::array<double, BandCount> bandDecibels {};
};

// What every frame shares: the taper, its own autocorrelation (which the
// frame's is divided by, so that a long lag is not penalised), the bands.
class FrameAnalyser
{
public:
    FrameAnalyser()
        : m_taper(FrameLength)
        , m_taperCorrelation(FftSize / 2)
        , m_input(FftSize)
    {
        for (int i = 0; i < FrameLength; ++i)
            m_taper[size_t(i)] = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * (i + 0.5) / FrameLength);
        for (int lag = 0; lag < FftSize / 2; ++lag) {
            double sum = 0;
            for (int i = 0; i + lag < FrameLength; ++i)
                sum += m_taper[size_t(i)] * m_taper[size_t(i + lag)];
            m_taperCorrelation[size_t(lag)] = sum;
        }
        const double binHz = double(SoundClassifier::SampleRate) / FftSize;
        m_lowBin = int(SpectrumLowHz / binHz);
        m_highBin = int(SpectrumHighHz / binHz);
        for (int band = 0; band <= BandCount; ++band) {
            const double hz = SpectrumLowHz * std::pow(SpectrumHighHz / SpectrumLowHz, double(band) / BandCount);
            m_bandEdges[size_t(band)] = std::max(m_lowBin + band, int(hz / binHz));
        }
    }

    FrameFeatures analyse(const int16_t *samples)
    {
        FrameFeatures features;
        double energy = 0;
        double mean = 0;
        for (int i = 0; i < FrameLength; ++i)
            mean += samples[i];
        mean /= FrameLength;
        int crossings = 0;
        for (int i = 0; i < FrameLength; ++i) {
            const double value = (samples[i] - mean) / 32768.0;
            energy += value * value;
            if (i > 0)
                crossings += (samples[i - 1] < mean) != (samples[i] < mean);
            m_input[size_t(i)] = value * m_taper[size_t(i)];
        }
        std::fill(m_input.begin() + FrameLength, m_input.end(), 0.0);
        features.decibels = 10 * std::log10(energy / FrameLength + 1e-12);
        features.zeroCrossingRate = double(crossings) / (FrameLength - 1);

        m_transform.transform(m_input.data(), m_real.data(), m_imaginary.data());
        std::array<double, FftSize / 2 + 1> power {};
        for (size_t k = 0; k <= FftSize / 2; ++k)
            power[k] = m_real[k] * m_real[k] + m_imaginary[k] * m_imaginary[k];

        // Flatness and the strongest peak over the range voices and
        // instruments fill.
        double logSum = 0;
        double sum = 0;
        double strongest = 0;
        // The power of five neighbouring bins, slid along.
        double peak = 0;
        for (int k = m_lowBin - 2; k < m_lowBin + 2; ++k)
            peak += power[size_t(k)];
        for (int k = m_lowBin; k < m_highBin; ++k) {
            logSum += std::log(power[size_t(k)] + 1e-14);
            sum += power[size_t(k)];
            peak += power[size_t(k + 2)];
            strongest = std::max(strongest, peak);
            peak -= power[size_t(k - 2)];
        }
        const int bins = m_highBin - m_lowBin;
        const double arithmetic = sum / bins + 1e-14;
        features.flatness = std::exp(logSum / bins) / arithmetic;
        features.peakShare = sum > 0 ? std::min(1.0, strongest / sum) : 0;
        for (int band = 0; band < BandCount; ++band) {
            double bandPower = 0;
            for (int k = m_bandEdges[size_t(band)]; k < m_bandEdges[size_t(band + 1)]; ++k)
                bandPower += power[size_t(k)];
            features.bandDecibels[size_t(band)] = 10 * std::log10(bandPower + 1e-12);
        }

        // The autocorrelation is the inverse transform of the power.
        // The power is symmetric, so its forward transform is the inverse.
        for (int k = 0; k < FftSize; ++k)
            m_input[size_t(k)] = power[size_t(k <= FftSize / 2 ? k : FftSize - k)];
        m_transform.transform(m_input.data(), m_real.data(), m_imaginary.data());
        const double zeroLag = m_real[0];
        if (zeroLag > 0) {
            const int shortest = int(SoundClassifier::SampleRate / MaxPitchHz);
            const int longest = int(SoundClassifier::SampleRate / MinPitchHz);
            for (int lag = shortest; lag <= longest; ++lag) {
                const double normalised
                    = (m_real[size_t(lag)] / zeroLag) / (m_taperCorrelation[size_t(lag)] / m_taperCorrelation[0]);
                features.periodicity = std::max(features.periodicity, normalised);
            }
            features.periodicity = std::min(features.periodicity, 1.0);
        }
        return features;
    }

private:
    std::vector<double> m_taper;
    std::vector<double> m_taperCorrelation;
    std::vector<double> m_input;
    RealFourierTransform m_transform;
    std::array<double, FftSize / 2 + 1> m_real {};
    std::array<double, FftSize / 2 + 1> m_imaginary {};
    std::array<int, BandCount + 1> m_bandEdges {};
    int m_lowBin = 0;
    int m_highBin = 0;
};

// How the frames of one window behave together.
struct WindowFeatures
{
    double silentShare = 0;
    double voicedShare = 0;
    double flatness = 0;
    double peakShare = 0;
    double zeroCrossingRate = 0;
    // The share of frames where the spectrum moved to a new sound.
    double changingShare = 0;
};

WindowFeatures windowFeatures(const std::vector<FrameFeatures> &frames, size_t first, size_t count)
{
    WindowFeatures window;
    double loudest = -120;
    for (size_t i = first; i < first + count; ++i)
        loudest = std::max(loudest, frames[i].decibels);
    int silent = 0;
    int active = 0;
    int voiced = 0;
    int changing = 0;
    for (size_t i = first; i < first + count; ++i) {
        const FrameFeatures &frame = frames[i];
        if (frame.decibels < SilentDecibels) {
            ++silent;
            continue;
        }
        if (frame.decibels < loudest - ActiveRangeDecibels)
            continue;
        ++active;
        voiced += frame.periodicity >= VoicedPeriodicity;
        window.flatness += frame.flatness;
        window.peakShare += frame.peakShare;
        window.zeroCrossingRate += frame.zeroCrossingRate;
        if (i >= 2) {
            // The shape of the spectrum, not its level: a note fading out
            // is no new sound. Quiet bands are held at a floor so that their
            // noise does not count as change.
            const double floor = loudest - 50;
            std::array<double, BandCount> moves {};
            double meanMove = 0;
            for (int band = 0; band < BandCount; ++band) {
                moves[size_t(band)] = std::max(floor, frame.bandDecibels[size_t(band)])
                    - std::max(floor, frames[i - 2].bandDecibels[size_t(band)]);
                meanMove += moves[size_t(band)] / BandCount;
            }
            double moved = 0;
            for (const double move : moves)
                moved += std::abs(move - meanMove) / BandCount;
            changing += moved >= ChangingFluxDecibels;
        }
    }
    window.silentShare = double(silent) / double(count);
    if (active > 0) {
        window.voicedShare = double(voiced) / active;
        window.flatness /= active;
        window.peakShare /= active;
        window.zeroCrossingRate /= active;
        window.changingShare = double(changing) / active;
    }
    return window;
}

double ramp(double value, double from, double to)
{
    return std::clamp((value - from) / (to - from), 0.0, 1.0);
}

QList<AudioSoundAnalysisObservation> windowObservations(const WindowFeatures &window)
{
    QList<AudioSoundAnalysisObservation> observations;
    const auto observe = [&observations](const char *label, double confidence) {
        if (confidence > 0)
            observations.append({ QString::fromLatin1(label), std::clamp(confidence, 0.0, 1.0) });
    };
    const double sounding = 1 - window.silentShare;
    observe("silence", ramp(window.silentShare, 0.5, 1.0));
    // Noise fills the spectrum evenly, has no pitch and crosses zero often.
    const double noisy
        = ramp(window.flatness, 0.12, 0.3) * (1 - window.voicedShare) * ramp(window.zeroCrossingRate, 0.05, 0.15);
    // A steady partial: music changes its notes, a tone never does.
    const double tonal = ramp(window.peakShare, 0.5, 0.9) * (1 - ramp(window.changingShare, 0.02, 0.08));
    // Speech moves from sound to sound several times a second, partly
    // voiced; a steady sound under it does not hide that.
    const double speaking = ramp(window.changingShare, 0.3, 0.55) * ramp(window.voicedShare, 0.2, 0.4) * (1 - noisy);
    // Music holds its pitched sounds; a voice that keeps moving between
    // sounds is speech, even over a steady pitch.
    const double musical = ramp(window.voicedShare, 0.6, 0.9) * (1 - tonal) * (1 - speaking);
    observe("noise", noisy * sounding);
    observe("tone", tonal * sounding);
    observe("speech", speaking * sounding);
    observe("music", musical * sounding);
    return observations;
}

} // namespace

QList<AudioSoundAnalysisObservation> SoundClassifier::classify(const PCMAudio &audio16k,
                                                               std::stop_token stop,
                                                               QDeadlineTimer deadline)
{
    QList<AudioSoundAnalysisObservation> observations;
    if (audio16k.sampleRate != SampleRate || audio16k.samples.size() < size_t(FrameLength))
        return observations;
    FrameAnalyser analyser;
    std::vector<FrameFeatures> frames;
    const size_t frameCount = (audio16k.samples.size() - FrameLength) / FrameHop + 1;
    frames.reserve(frameCount);
    for (size_t i = 0; i < frameCount; ++i) {
        if (i % WindowHopFrames == 0 && (stop.stop_requested() || deadline.hasExpired()))
            break;
        frames.push_back(analyser.analyse(audio16k.samples.data() + i * FrameHop));
    }
    // A recording shorter than one window is one window.
    const size_t length = std::min<size_t>(frames.size(), WindowFrames);
    for (size_t first = 0; length > 0 && first + length <= frames.size(); first += WindowHopFrames)
        observations.append(windowObservations(windowFeatures(frames, first, length)));
    return observations;
}

} // namespace Nomly
