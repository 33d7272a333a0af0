#include "gui/thumbnailloader.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "content/pdfpagerenderer.h"
#include "content/picturereader.h"

namespace Nomly {

namespace {

bool isPdf(const QString &path)
{
    return QFileInfo(path).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0;
}

// Reads the picture at no more than `bound` pixels each way: a JPEG is
// decoded at the reduced size itself, so a large photo costs little; a
// HEIC photo uses the thumbnail inside it when that is large enough.
QImage readThumbnail(const QString &path, QSize bound)
{
    QImage image;
    if (isPdf(path)) {
        const QList<QImage> pages = renderedPdfPages(path, { 0 }, std::max(bound.width(), bound.height()));
        if (!pages.isEmpty())
            image = pages.first();
    } else if (const Result<QImage> picture = PictureReader::read(path, bound)) {
        image = picture.value();
    }
    // A page comes back larger than the row.
    if (!image.isNull() && (image.width() > bound.width() || image.height() > bound.height()))
        image = image.scaled(bound, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace

ThumbnailLoader::ThumbnailLoader(QSize size, QObject *parent)
    : QObject(parent)
{
    // A display with no screen (offscreen runs) is taken as a dense one.
    const QScreen *screen = QGuiApplication::primaryScreen();
    m_scale = screen ? qGuiApp->devicePixelRatio() : 2.0;
    m_pixelSize = size * m_scale;
    m_pool.setMaxThreadCount(2);
}

ThumbnailLoader::~ThumbnailLoader()
{
    // Every read is left to finish: a read taken off the queue would never
    // wake the task waiting for it.
    m_pool.waitForDone();
}

bool ThumbnailLoader::hasPreview(const QString &path)
{
    if (isPdf(path))
        return true;
    const QString suffix = QFileInfo(path).suffix().toLower();
    return !suffix.isEmpty() && PictureReader::readsExtension(suffix);
}

QImage ThumbnailLoader::thumbnail(const QString &path)
{
    if (const std::optional<QImage> cached = m_cache.find(path))
        return *cached;
    if (!m_loading.contains(path) && hasPreview(path)) {
        const quint64 ticket = ++m_nextTicket;
        m_loading.insert(path, ticket);
        load(path, ticket);
    }
    return QImage();
}

QCoro::Task<> ThumbnailLoader::load(QString path, quint64 ticket)
{
    const QPointer<ThumbnailLoader> self(this);
    auto reading = QtConcurrent::run(&m_pool, readThumbnail, path, m_pixelSize);
    QImage image = co_await reading;
    if (!self || m_loading.value(path) != ticket)
        co_return;
    m_loading.remove(path);
    image.setDevicePixelRatio(m_scale);
    m_cache.insert(path, image);
    emit thumbnailReady(path);
}

void ThumbnailLoader::forget(const QString &path)
{
    m_loading.remove(path);
    m_cache.remove(path);
}

void ThumbnailLoader::clear()
{
    m_loading.clear();
    m_cache.clear();
}

} // namespace Nomly
