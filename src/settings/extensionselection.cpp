#include "settings/extensionselection.h"

#include <QSet>

namespace Nomly {

QStringList normalizedExtensions(const QStringList &extensions)
{
    QStringList normalized;
    QSet<QString> seen;
    for (const QString &extension : extensions) {
        QStringView text = QStringView(extension).trimmed();
        while (text.startsWith(u'.'))
            text = text.sliced(1);
        const QString lower = text.toString().toLower();
        if (lower.isEmpty() || seen.contains(lower))
            continue;
        seen.insert(lower);
        normalized.append(lower);
    }
    return normalized;
}

QStringList effectiveMonitorExtensions(const Settings &settings, const QStringList &supported)
{
    const QStringList all = normalizedExtensions(supported);
    if (!settings.monitorFileExtensions)
        return all;
    const QStringList chosen = normalizedExtensions(*settings.monitorFileExtensions);
    const QSet<QString> chosenSet(chosen.cbegin(), chosen.cend());
    QStringList effective;
    for (const QString &extension : all) {
        if (chosenSet.contains(extension))
            effective.append(extension);
    }
    return effective;
}

std::optional<QStringList> storedExtensionSelection(const QStringList &selected, const QStringList &supported)
{
    const QStringList all = normalizedExtensions(supported);
    const QSet<QString> supportedSet(all.cbegin(), all.cend());
    QStringList kept;
    for (const QString &extension : normalizedExtensions(selected)) {
        if (supportedSet.contains(extension))
            kept.append(extension);
    }
    if (kept == all)
        return std::nullopt;
    return kept;
}

} // namespace Nomly
