#include "platform/ziparchive.h"

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

} // namespace Nomly
