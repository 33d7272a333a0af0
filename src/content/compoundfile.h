#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

namespace Nomly {

// A legacy binary Office file's container (an OLE compound file): a small
// file system of named streams. Streams are read by name with a byte limit;
// every sector chain is bounded by the file's own size, so a looping or
// lying table ends the read instead of the program.
class CompoundFile final
{
public:
    static std::optional<CompoundFile> open(const QString &path);

    CompoundFile(CompoundFile &&) noexcept = default;
    CompoundFile &operator=(CompoundFile &&) noexcept = default;
    ~CompoundFile();

    // The first stream of that name, compared without regard to case, up to
    // `maxBytes`. None when there is no such stream or it cannot be read.
    std::optional<QByteArray> stream(const QString &name, qint64 maxBytes) const;

private:
    struct Entry
    {
        QString name;
        int type = 0;
        quint32 start = 0;
        quint64 size = 0;
    };

    CompoundFile() = default;
    bool load();
    std::optional<QByteArray> sector(quint32 index) const;
    std::optional<QByteArray> chain(quint32 start, qint64 maxBytes) const;
    std::optional<QByteArray> miniChain(quint32 start, qint64 maxBytes) const;

    std::unique_ptr<QFile> m_file;
    int m_sectorShift = 9;
    int m_miniSectorShift = 6;
    quint32 m_miniCutoff = 4096;
    quint64 m_sectorCount = 0;
    std::vector<quint32> m_fat;
    std::vector<quint32> m_miniFat;
    QList<Entry> m_entries;
    QByteArray m_miniStream;
};

} // namespace Nomly
