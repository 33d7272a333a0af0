#include "content/previewentries.h"

#include <algorithm>
#include <utility>

namespace Nomly {

QStringList rankedPreviewEntries(const QStringList &entries)
{
    const auto lastComponentIn = [](const QString &path, const char *stem) {
        const QString last = path.section(u'/', -1);
        return last == QLatin1String(stem) + u".jpg" || last == QLatin1String(stem) + u".jpeg"
            || last == QLatin1String(stem) + u".png";
    };
    const auto rank = [&](const QString &lower) {
        if (lastComponentIn(lower, "preview"))
            return 0;
        if (lastComponentIn(lower, "preview-web"))
            return 1;
        if (lastComponentIn(lower, "preview-micro"))
            return 2;
        if (lower == u"previews/preview.png")
            return 3;
        if (lower.contains(u"quicklook") && lower.contains(u"thumbnail"))
            return 4;
        if (lower.contains(u"thumbnail"))
            return 5;
        if (lower.contains(u"preview"))
            return 6;
        if (lower.endsWith(u".png"))
            return 7;
        return 8;
    };
    QList<std::pair<int, QString>> candidates;
    for (const QString &entry : entries) {
        const QString lower = entry.toLower();
        const bool picture = lower.endsWith(u".png") || lower.endsWith(u".jpg") || lower.endsWith(u".jpeg");
        const bool named = lower.contains(u"preview") || lower.contains(u"thumbnail") || lower.contains(u"quicklook")
            || lower.startsWith(u"previews/");
        if (picture && named)
            candidates.append({ rank(lower), entry });
    }
    std::stable_sort(
        candidates.begin(), candidates.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    QStringList ranked;
    for (const auto &candidate : std::as_const(candidates))
        ranked.append(candidate.second);
    return ranked;
}

} // namespace Nomly
