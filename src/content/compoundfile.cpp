#include "content/compoundfile.h"

#include <QtEndian>

namespace Nomly {

namespace {

constexpr quint32 EndOfChain = 0xFFFFFFFE;
constexpr quint32 LastRegularSector = 0xFFFFFFFA;
constexpr int StreamEntry = 2;
constexpr int RootEntry = 5;
constexpr qsizetype EntrySize = 128;
constexpr int HeaderFatSlots = 109;
// The mini stream holds only streams under 4 KiB; a larger one is a lie.
constexpr qint64 MaxMiniStreamBytes = 16 * 1024 * 1024;

quint32 u32At(const QByteArray &bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

quint16 u16At(const QByteArray &bytes, qsizetype offset)
{
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

void appendSlots(std::vector<quint32> &table, const QByteArray &sector, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        table.push_back(u32At(sector, i * 4));
}

} // namespace

CompoundFile::~CompoundFile() = default;

std::optional<CompoundFile> CompoundFile::open(const QString &path)
{
    CompoundFile file;
    file.m_file = std::make_unique<QFile>(path);
    if (!file.m_file->open(QIODevice::ReadOnly) || !file.load())
        return std::nullopt;
    return file;
}

bool CompoundFile::load()
{
    const QByteArray header = m_file->read(512);
    if (header.size() < 512 || !header.startsWith("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"))
        return false;
    m_sectorShift = u16At(header, 0x1E);
    m_miniSectorShift = u16At(header, 0x20);
    if ((m_sectorShift != 9 && m_sectorShift != 12) || m_miniSectorShift != 6)
        return false;
    m_miniCutoff = u32At(header, 0x38);
    const qint64 sectorSize = qint64(1) << m_sectorShift;
    m_sectorCount = static_cast<quint64>(std::max<qint64>(0, m_file->size() / sectorSize - 1));
    const qsizetype slotsPerSector = sectorSize / 4;

    // The allocation table's own sectors: the first 109 listed in the
    // header, the rest in a chain of list sectors.
    std::vector<quint32> fatSectors;
    appendSlots(fatSectors, header.mid(0x4C), HeaderFatSlots);
    quint32 listSector = u32At(header, 0x44);
    for (quint64 hops = 0; listSector <= LastRegularSector && hops < m_sectorCount; ++hops) {
        const auto list = sector(listSector);
        if (!list)
            return false;
        appendSlots(fatSectors, *list, slotsPerSector - 1);
        listSector = u32At(*list, (slotsPerSector - 1) * 4);
    }
    for (const quint32 fatSector : fatSectors) {
        if (fatSector > LastRegularSector)
            continue;
        const auto table = sector(fatSector);
        if (!table)
            return false;
        appendSlots(m_fat, *table, slotsPerSector);
        if (m_fat.size() > m_sectorCount + static_cast<quint64>(slotsPerSector))
            break;
    }

    const auto directory = chain(u32At(header, 0x30), static_cast<qint64>(m_sectorCount) * sectorSize);
    if (!directory)
        return false;
    for (qsizetype offset = 0; offset + EntrySize <= directory->size(); offset += EntrySize) {
        const QByteArray raw = directory->mid(offset, EntrySize);
        const int nameBytes = std::min<int>(u16At(raw, 0x40), 64);
        Entry entry;
        entry.name
            = QString::fromUtf16(reinterpret_cast<const char16_t *>(raw.constData()), std::max(0, nameBytes / 2 - 1));
        entry.type = static_cast<unsigned char>(raw.at(0x42));
        entry.start = u32At(raw, 0x74);
        entry.size = m_sectorShift == 9 ? u32At(raw, 0x78) : qFromLittleEndian<quint64>(raw.constData() + 0x78);
        m_entries.append(entry);
    }
    if (m_entries.isEmpty() || m_entries.first().type != RootEntry)
        return false;

    if (const auto miniFat = chain(u32At(header, 0x3C), static_cast<qint64>(m_sectorCount) * sectorSize))
        appendSlots(m_miniFat, *miniFat, miniFat->size() / 4);
    const Entry &root = m_entries.first();
    m_miniStream = chain(root.start, std::min<qint64>(static_cast<qint64>(root.size), MaxMiniStreamBytes))
                       .value_or(QByteArray());
    return true;
}

std::optional<QByteArray> CompoundFile::sector(quint32 index) const
{
    if (index >= m_sectorCount)
        return std::nullopt;
    const qint64 size = qint64(1) << m_sectorShift;
    if (!m_file->seek((static_cast<qint64>(index) + 1) * size))
        return std::nullopt;
    QByteArray bytes = m_file->read(size);
    if (bytes.size() != size)
        return std::nullopt;
    return bytes;
}

std::optional<QByteArray> CompoundFile::chain(quint32 start, qint64 maxBytes) const
{
    QByteArray bytes;
    quint32 current = start;
    // A chain visits each sector once at most; more hops mean a loop.
    for (quint64 hops = 0; current != EndOfChain && bytes.size() < maxBytes; ++hops) {
        if (current >= m_fat.size() || hops > m_sectorCount)
            return std::nullopt;
        const auto next = sector(current);
        if (!next)
            return std::nullopt;
        bytes.append(*next);
        current = m_fat.at(current);
    }
    bytes.truncate(maxBytes);
    return bytes;
}

std::optional<QByteArray> CompoundFile::miniChain(quint32 start, qint64 maxBytes) const
{
    const qint64 size = qint64(1) << m_miniSectorShift;
    QByteArray bytes;
    quint32 current = start;
    for (quint64 hops = 0; current != EndOfChain && bytes.size() < maxBytes; ++hops) {
        const qint64 offset = static_cast<qint64>(current) * size;
        if (current >= m_miniFat.size() || hops > m_miniFat.size() || offset + size > m_miniStream.size())
            return std::nullopt;
        bytes.append(m_miniStream.mid(offset, size));
        current = m_miniFat.at(current);
    }
    bytes.truncate(maxBytes);
    return bytes;
}

std::optional<QByteArray> CompoundFile::stream(const QString &name, qint64 maxBytes) const
{
    for (const Entry &entry : m_entries) {
        if (entry.type != StreamEntry || entry.name.compare(name, Qt::CaseInsensitive) != 0)
            continue;
        const qint64 wanted = static_cast<qint64>(std::min<quint64>(entry.size, static_cast<quint64>(maxBytes)));
        auto bytes = entry.size < m_miniCutoff ? miniChain(entry.start, wanted) : chain(entry.start, wanted);
        if (bytes && bytes->size() < wanted)
            return std::nullopt;
        return bytes;
    }
    return std::nullopt;
}

} // namespace Nomly
