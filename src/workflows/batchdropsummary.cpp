#include "workflows/batchdropsummary.h"

#include <QDir>
#include <QFileInfo>

#include "content/extensiontables.h"
#include "platform/canonicalpath.h"

namespace Nomly {

namespace {

bool hasBundleExtension(const QFileInfo &info)
{
    const QString extension = info.suffix().toLower();
    return extension == u"pages" || extension == u"numbers" || extension == u"key";
}

// A file without an extension is taken for what it holds.
QString kindExtension(const QFileInfo &info, bool bundle)
{
    return bundle ? info.suffix().toLower() : contentExtension(info.filePath());
}

class Collector
{
public:
    Collector(const QSet<QString> &supported, QSet<QString> existing, int capacity)
        : m_supported(supported)
        , m_existing(std::move(existing))
        , m_capacity(capacity)
    {}

    // False once the batch is full.
    bool offer(const QFileInfo &info)
    {
        const QString path = info.absoluteFilePath();
        // A file and a link to it are one file.
        const QString resolved = canonicalPath(path);
        const bool bundle = info.isDir() && hasBundleExtension(info);
        const bool eligible = (bundle || info.isFile()) && m_supported.contains(kindExtension(info, bundle))
            && !m_existing.contains(resolved);
        if (!eligible) {
            ++m_summary.skippedCount;
            return true;
        }
        m_existing.insert(resolved);
        m_summary.pathsToAdd.append(path);
        ++m_summary.addedCount;
        if (m_summary.addedCount >= m_capacity) {
            m_summary.didHitLimit = true;
            return false;
        }
        return true;
    }

    // False once the batch is full or the walk was cancelled. Entries go in
    // name order, depth first, as a file manager lists them; hidden entries
    // are left out and a bundle's parts are never entered.
    bool walk(const QString &folder, const std::function<bool()> &isCancelled)
    {
        m_summary.containsFolder = true;
        const QFileInfoList entries
            = QDir(folder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
        for (const QFileInfo &info : entries) {
            if (isCancelled && isCancelled())
                return false;
            if (info.isDir() && !info.isSymLink() && !hasBundleExtension(info)) {
                ++m_summary.skippedCount;
                if (!walk(info.absoluteFilePath(), isCancelled))
                    return false;
                continue;
            }
            if (!offer(info))
                return false;
        }
        return true;
    }

    BatchDropSummary take() { return std::move(m_summary); }

private:
    const QSet<QString> &m_supported;
    QSet<QString> m_existing;
    int m_capacity;
    BatchDropSummary m_summary;
};

} // namespace

bool BatchDropSummary::isDocumentBundle(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && hasBundleExtension(info);
}

BatchDropSummary BatchDropSummary::collect(const QStringList &paths,
                                           const QSet<QString> &supportedExtensions,
                                           QSet<QString> existing,
                                           int capacity,
                                           const std::function<bool()> &isCancelled)
{
    Collector collector(supportedExtensions, std::move(existing), capacity);
    if (capacity < 1) {
        BatchDropSummary full;
        full.didHitLimit = !paths.isEmpty();
        return full;
    }
    for (const QString &path : paths) {
        if (isCancelled && isCancelled())
            break;
        const QFileInfo info(path);
        if (!info.exists())
            continue;
        const bool keepGoing = info.isDir() && !hasBundleExtension(info)
            ? collector.walk(info.absoluteFilePath(), isCancelled)
            : collector.offer(info);
        if (!keepGoing)
            break;
    }
    return collector.take();
}

} // namespace Nomly
