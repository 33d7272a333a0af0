#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QThreadPool>

#include <qcoro/qcorotask.h>

#include "gui/thumbnailcache.h"

namespace Nomly {

// Small previews of pictures and PDFs, read on worker threads at the size
// they are shown, never at full size, and kept in a bounded cache. The
// screen asks for a path each time it paints; the first asking starts the
// read, and `thumbnailReady` says when it has landed. Other files have no
// preview: the screen shows their type's icon. Main thread only.
class ThumbnailLoader final : public QObject
{
    Q_OBJECT

public:
    // `size` in device-independent pixels; the screen's scale is applied.
    explicit ThumbnailLoader(QSize size, QObject *parent = nullptr);
    ~ThumbnailLoader() override;

    // Whether the file's kind has a preview, by its extension.
    static bool hasPreview(const QString &path);

    // The preview when it has been read; a null image while it is read, or
    // when the file has none (it is gone, or does not decode).
    QImage thumbnail(const QString &path);

    // Drops the path's preview, and a read of it still under way.
    void forget(const QString &path);
    // Drops every preview, and the reads under way.
    void clear();

    const ThumbnailCache &cache() const { return m_cache; }

Q_SIGNALS:
    void thumbnailReady(const QString &path);

private:
    QCoro::Task<> load(QString path, quint64 ticket);

    QSize m_pixelSize;
    qreal m_scale = 1.0;
    ThumbnailCache m_cache;
    // Reads under way, each with its ticket: a read whose ticket is no
    // longer here was forgotten meanwhile, and its result is dropped.
    QHash<QString, quint64> m_loading;
    quint64 m_nextTicket = 0;
    // Pictures are read beside the analysis, never in its way.
    QThreadPool m_pool;
};

} // namespace Nomly
