#include "gui/clipboardselection.h"

#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QMimeData>
#include <QSet>
#include <QSysInfo>
#include <QUrl>
#include <chrono>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

const QString UriListType = QStringLiteral("text/uri-list");
// GNOME file managers: "copy" or "cut" on the first line, then one URI a line.
const QString GnomeCopiedFilesType = QStringLiteral("x-special/gnome-copied-files");

constexpr std::chrono::milliseconds SelectionTimeout { 5000 };

QList<QByteArray> uriLines(const QByteArray &bytes)
{
    QList<QByteArray> lines;
    for (const QByteArray &line : bytes.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (!trimmed.isEmpty() && !trimmed.startsWith('#'))
            lines << trimmed;
    }
    return lines;
}

// A file URL names a file on this machine when it has no host or this one.
std::optional<QString> localPath(const QByteArray &uri)
{
    const QUrl url = QUrl::fromEncoded(uri, QUrl::StrictMode);
    if (!url.isValid() || !url.isLocalFile())
        return std::nullopt;
    const QString host = url.host();
    if (!host.isEmpty() && host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) != 0
        && host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) != 0)
        return std::nullopt;
    const QString path = QDir::cleanPath(url.path(QUrl::FullyDecoded));
    if (path.isEmpty() || !QDir::isAbsolutePath(path))
        return std::nullopt;
    return path;
}

} // namespace

QStringList filesFromMimeData(const QMimeData *data)
{
    if (!data)
        return {};
    QList<QByteArray> uris;
    if (data->hasFormat(UriListType)) {
        uris = uriLines(data->data(UriListType));
    } else if (data->hasFormat(GnomeCopiedFilesType)) {
        uris = uriLines(data->data(GnomeCopiedFilesType));
        if (!uris.isEmpty())
            uris.removeFirst();
    }
    QStringList files;
    QSet<QString> seen;
    for (const QByteArray &uri : std::as_const(uris)) {
        const std::optional<QString> path = localPath(uri);
        if (!path || seen.contains(*path))
            continue;
        seen.insert(*path);
        files << *path;
    }
    return files;
}

QCoro::Task<QStringList> clipboardFiles(QClipboard *clipboard)
{
    QElapsedTimer elapsed;
    elapsed.start();
    // Reading the clipboard asks its owner for the data and waits for the
    // answer; Qt bounds that wait itself, so the read is timed rather than
    // raced, and one that took too long counts as no answer.
    const QMimeData *data = clipboard->mimeData(QClipboard::Clipboard);
    QStringList files = filesFromMimeData(data);
    if (elapsed.elapsed() >= SelectionTimeout.count()) {
        qCWarning(lcProcessing) << "Clipboard timed out getting the copied files";
        co_return QStringList();
    }
    co_return files;
}

} // namespace Nomly
