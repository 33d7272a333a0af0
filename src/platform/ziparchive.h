#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

struct zip;

namespace Nomly {

// A ZIP file opened for reading entries, each read with a byte limit: the
// size an entry declares is never trusted.
class ZipArchive final
{
public:
    static std::optional<ZipArchive> open(const QString &path);

    ZipArchive(ZipArchive &&) noexcept;
    ZipArchive &operator=(ZipArchive &&) noexcept;
    ~ZipArchive();

    // In archive order.
    QStringList entryNames() const;
    // None when the entry is missing, unreadable, or larger than `maxBytes`.
    std::optional<QByteArray> read(const QString &name, qint64 maxBytes) const;
    // Up to `maxBytes` of the entry, what was read by then when it is larger.
    std::optional<QByteArray> readPrefix(const QString &name, qint64 maxBytes) const;

private:
    explicit ZipArchive(zip *archive);
    std::optional<QByteArray> readEntry(const QString &name, qint64 maxBytes, bool failWhenLarger) const;

    zip *m_archive = nullptr;
};

} // namespace Nomly
