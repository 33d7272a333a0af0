#include "samplezips.h"

#include <QFile>

#include <zip.h>

namespace Nomly::Test {

bool writeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &entries)
{
    int error = 0;
    zip *archive = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive)
        return false;
    for (const auto &[name, data] : entries) {
        zip_source_t *source = zip_source_buffer(archive, data.constData(), zip_uint64_t(data.size()), 0);
        if (!source || zip_file_add(archive, name.toUtf8().constData(), source, ZIP_FL_OVERWRITE) < 0) {
            zip_source_free(source);
            zip_discard(archive);
            return false;
        }
    }
    return zip_close(archive) == 0;
}

} // namespace Nomly::Test
