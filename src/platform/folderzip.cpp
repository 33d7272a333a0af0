#include "platform/folderzip.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <openssl/crypto.h>
#include <zip.h>

namespace Nomly {

namespace {

// Adds one entry and marks it stored; false when libzip refused it.
bool addStored(zip *archive, const QString &name, const QFileInfo &item)
{
    const QByteArray entry = name.toUtf8();
    zip_int64_t index = -1;
    if (item.isDir()) {
        index = zip_dir_add(archive, entry.constData(), ZIP_FL_ENC_UTF_8);
    } else {
        zip_source_t *source = zip_source_file(archive, QFile::encodeName(item.filePath()).constData(), 0, -1);
        if (!source)
            return false;
        index = zip_file_add(archive, entry.constData(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            return false;
        }
    }
    return index >= 0 && zip_set_file_compression(archive, zip_uint64_t(index), ZIP_CM_STORE, 0) == 0;
}

// libzip names the file it writes first with OpenSSL's random numbers, whose
// state stays with the thread; a pool thread may still be alive when the
// program ends, so a worker lets that state go once its archive is written.
void releaseThreadState()
{
    const QCoreApplication *application = QCoreApplication::instance();
    if (application && QThread::currentThread() != application->thread())
        OPENSSL_thread_stop();
}

Result<> writeStored(const QString &folder, const QString &archivePath)
{
    const QFileInfo root(folder);
    if (!root.isDir())
        return Failure { QStringLiteral("Not a folder: ") + folder };
    int error = 0;
    zip *archive = zip_open(QFile::encodeName(archivePath).constData(), ZIP_CREATE | ZIP_EXCL, &error);
    if (!archive)
        return Failure { QStringLiteral("Cannot create the archive ") + archivePath, error };

    const QString top = root.fileName();
    bool added = addStored(archive, top + u'/', root);
    const QDir base(root.absoluteFilePath());
    QDirIterator walk(base.path(),
                      QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (added && walk.hasNext()) {
        const QFileInfo item(walk.next());
        if (item.isSymLink() || !(item.isDir() || item.isFile()))
            continue;
        const QString name = top + u'/' + base.relativeFilePath(item.absoluteFilePath()) + (item.isDir() ? u"/" : u"");
        added = addStored(archive, name, item);
    }
    // The files are read while the archive is written, at close.
    if (!added || zip_close(archive) != 0) {
        const QString reason = QString::fromUtf8(zip_strerror(archive));
        zip_discard(archive);
        QFile::remove(archivePath);
        return Failure { QStringLiteral("Cannot write the archive ") + archivePath + QStringLiteral(": ") + reason };
    }
    return {};
}

} // namespace

Result<> zipFolderStored(const QString &folder, const QString &archivePath)
{
    Result<> written = writeStored(folder, archivePath);
    releaseThreadState();
    return written;
}

} // namespace Nomly
