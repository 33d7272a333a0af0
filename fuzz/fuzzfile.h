#pragma once

#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

namespace Nomly::Fuzz {

// The input written to a file of the given name in a folder of its own,
// for readers that take a path.
class FuzzFile
{
public:
    FuzzFile(const char *name, const uint8_t *data, size_t size)
        : m_path(m_dir.filePath(QString::fromLatin1(name)))
    {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.write(reinterpret_cast<const char *>(data), qint64(size));
    }

    const QString &path() const { return m_path; }

private:
    QTemporaryDir m_dir;
    QString m_path;
};

} // namespace Nomly::Fuzz
