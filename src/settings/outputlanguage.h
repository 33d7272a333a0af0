#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// The language codes names, descriptions and tags may be asked for in.
const QStringList &outputLanguageCodes();

// The code among `outputLanguageCodes()` that a locale identifier ("pt-BR",
// "en_GB", "nb") stands for, or none when it stands for none of them.
std::optional<QString> normalizedLanguageCode(const QString &identifier);

// The language an analysis asks for. An empty setting asks for none; "auto"
// takes the first of the preferred languages, then the current locale, that
// normalises, else "en"; anything else is used as written.
std::optional<QString> resolvedOutputLanguage(const QString &outputLanguage,
                                              const QStringList &preferredLanguages,
                                              const QString &currentLocale);

} // namespace Nomly
