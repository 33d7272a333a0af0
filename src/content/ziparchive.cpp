#include "content/ziparchive.h"

#include <QFile>
#include <algorithm>

#include <zip.h>

namespace Nomly {

std::optional<ZipArchive> ZipArchive::open(const QString &path)
{
    int error = 0;
    zip *archive = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
    if (!archive)
        return std::nullopt;
    return ZipArchive(archive);
}

ZipArchive::ZipArchive(zip *archive)
    : m_archive(archive)
{}

ZipArchive::ZipArchive(ZipArchive &&other) noexcept
    : m_archive(std::exchange(other.m_archive, nullptr))
{}

ZipArchive &ZipArchive::operator=(ZipArchive &&other) noexcept
{
    std::swap(m_archive, other.m_archive);
    return *this;
}

ZipArchive::~ZipArchive()
{
    if (m_archive)
        zip_discard(m_archive);
}

QStringList ZipArchive::entryNames() const
{
    QStringList names;
    const zip_int64_t count = zip_get_num_entries(m_archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        if (const char *name = zip_get_name(m_archive, static_cast<zip_uint64_t>(i), ZIP_FL_ENC_GUESS))
            names.append(QString::fromUtf8(name));
    }
    return names;
}

std::optional<QByteArray> ZipArchive::read(const QString &name, qint64 maxBytes) const
{
    return readEntry(name, maxBytes, true);
}

std::optional<QByteArray> ZipArchive::readPrefix(const QString &name, qint64 maxBytes) const
{
    return readEntry(name, maxBytes, false);
}

std::optional<QByteArray> ZipArchive::readEntry(const QString &name, qint64 maxBytes, bool failWhenLarger) const
{
    zip_file_t *file = zip_fopen(m_archive, name.toUtf8().constData(), 0);
    if (!file)
        return std::nullopt;
    QByteArray data;
    char chunk[65536];
    bool ok = true;
    // Read one byte past the limit to tell "exactly at" from "over".
    while (data.size() <= maxBytes) {
        const zip_int64_t count = zip_fread(file, chunk, sizeof chunk);
        if (count < 0) {
            ok = false;
            break;
        }
        if (count == 0)
            break;
        data.append(chunk, static_cast<qsizetype>(count));
    }
    zip_fclose(file);
    if (!ok)
        return std::nullopt;
    if (data.size() > maxBytes) {
        if (failWhenLarger)
            return std::nullopt;
        data.truncate(maxBytes);
    }
    return data;
}

QStringList rankedPreviewEntries(const QStringList &entries)
{
    const auto lastComponentIn = [](const QString &path, const char *stem) {
        const QString last = path.section(u'/', -1);
        return last == QLatin1String(stem) + u".jpg" || last == QLatin1String(stem) + u".jpeg"
            || last == QLatin1String(stem) + u".png";
    };
    const auto rank = [&](const QString &lower) {
        if (lastComponentIn(lower, "preview"))
            return 0;
        if (lastComponentIn(lower, "preview-web"))
            return 1;
        if (lastComponentIn(lower, "preview-micro"))
            return 2;
        if (lower == u"previews/preview.png")
            return 3;
        if (lower.contains(u"quicklook") && lower.contains(u"thumbnail"))
            return 4;
        if (lower.contains(u"thumbnail"))
            return 5;
        if (lower.contains(u"preview"))
            return 6;
        if (lower.endsWith(u".png"))
            return 7;
        return 8;
    };
    QList<std::pair<int, QString>> candidates;
    for (const QString &entry : entries) {
        const QString lower = entry.toLower();
        const bool picture = lower.endsWith(u".png") || lower.endsWith(u".jpg") || lower.endsWith(u".jpeg");
        const bool named = lower.contains(u"preview") || lower.contains(u"thumbnail") || lower.contains(u"quicklook")
            || lower.startsWith(u"previews/");
        if (picture && named)
            candidates.append({ rank(lower), entry });
    }
    std::stable_sort(
        candidates.begin(), candidates.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    QStringList ranked;
    for (const auto &candidate : std::as_const(candidates))
        ranked.append(candidate.second);
    return ranked;
}

} // namespace Nomly
