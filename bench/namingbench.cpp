// Rendering names for a folder of 10,000 files, the work behind the live
// preview of a template. Read the figures as ratios against BM_ReferenceSanitize,
// which passes each file's name through the sanitiser once and nothing more.

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <benchmark/benchmark.h>

#include "naming/filerenamer.h"
#include "naming/nametext.h"

using namespace Nomly;

namespace {

constexpr int FolderSize = 10000;

struct Sample
{
    QString originalName;
    QString extension;
    QString title;
    QString invoiceDate;
    QString vendor;
};

const QList<Sample> &folder()
{
    static const QList<Sample> samples = [] {
        static constexpr const char16_t *Extensions[] = { u"pdf", u"jpg", u"txt", u"mov", u"docx" };
        static constexpr const char16_t *Titles[] = { u"quarterly report for the board",
                                                      u"NASA launch plan",
                                                      u"Budget - Q3 review",
                                                      u"sunset over the harbour",
                                                      u"Invoice Acme Tools GmbH" };
        QList<Sample> list;
        list.reserve(FolderSize);
        for (int i = 0; i < FolderSize; ++i) {
            list.append({ QStringLiteral("scan %1 (copy)").arg(i),
                          QString::fromUtf16(Extensions[i % 5]),
                          QString::fromUtf16(Titles[i % 5]),
                          QStringLiteral("%1/%2/2026").arg(1 + i % 28).arg(1 + i % 12),
                          i % 3 ? QStringLiteral("Acme Tools") : QString() });
        }
        return list;
    }();
    return samples;
}

PatternRenderInput inputFor(const Sample &sample, const QDateTime &now)
{
    PatternRenderInput input;
    input.pattern = QStringLiteral("{date}_{title}_{vendor}_{invoice_date_long}_{extension}_{original}");
    input.title = sample.title;
    input.originalName = sample.originalName;
    input.now = now;
    input.vendor = sample.vendor;
    input.caseStyle = NamingCaseStyle::Snake;
    input.wordSeparator = NamingPatternSeparator::Underscore;
    input.metadata.fileExtension = sample.extension;
    input.metadata.fileExtensionOriginal = sample.extension;
    input.metadata.detectedFields.insert(QStringLiteral("invoice_date"), sample.invoiceDate);
    return input;
}

void BM_ReferenceSanitize(benchmark::State &state)
{
    const QList<Sample> &samples = folder();
    for (auto _ : state) {
        for (const Sample &sample : samples)
            benchmark::DoNotOptimize(sanitizeName(sample.originalName, true));
    }
    state.SetItemsProcessed(state.iterations() * samples.size());
}

BENCHMARK(BM_ReferenceSanitize)->Unit(benchmark::kMillisecond);

// Six fields, two of them dates (the clock and a detected invoice date).
void BM_RenderFolder(benchmark::State &state)
{
    const QList<Sample> &samples = folder();
    const QDateTime now = QDateTime::currentDateTime();
    QList<PatternRenderInput> inputs;
    inputs.reserve(samples.size());
    for (const Sample &sample : samples)
        inputs.append(inputFor(sample, now));

    for (auto _ : state) {
        for (const PatternRenderInput &input : inputs)
            benchmark::DoNotOptimize(FileRenamer::applyPattern(input));
    }
    state.SetItemsProcessed(state.iterations() * inputs.size());
}

BENCHMARK(BM_RenderFolder)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
