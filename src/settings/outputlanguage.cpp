#include "settings/outputlanguage.h"

#include <unicode/locid.h>

namespace Nomly {

namespace {

constexpr const char16_t *LanguageCodes[] = {
    u"af", u"sq", u"am", u"ar", u"hy", u"az", u"eu", u"be", u"bn", u"bs", u"bg", u"ca", u"zh", u"hr",
    u"cs", u"da", u"nl", u"en", u"et", u"fi", u"fr", u"gl", u"ka", u"de", u"el", u"gu", u"he", u"hi",
    u"hu", u"is", u"id", u"ga", u"it", u"ja", u"kn", u"kk", u"ko", u"lv", u"lt", u"mk", u"ms", u"ml",
    u"mt", u"mr", u"mn", u"ne", u"no", u"fa", u"pl", u"pt", u"pa", u"ro", u"ru", u"sr", u"sk", u"sl",
    u"es", u"sw", u"sv", u"ta", u"te", u"th", u"tr", u"uk", u"ur", u"uz", u"vi", u"cy",
};

struct LanguageAlias
{
    const char16_t *alias;
    const char16_t *code;
};

// Both written forms of Norwegian fold into the one code the models know.
constexpr LanguageAlias LanguageAliases[] = {
    { u"nb", u"no" },
    { u"nn", u"no" },
};

const QString AutoValue = QStringLiteral("auto");
const QString FallbackLanguage = QStringLiteral("en");

// The language of a locale identifier as ICU reads it: "zh-Hans-CN",
// "de_DE@euro", "en_US.UTF-8" and the three-letter "deu" all give their
// two-letter language.
QString localeLanguage(const QString &identifier)
{
    const icu::Locale locale(identifier.toUtf8().constData());
    return QString::fromLatin1(locale.getLanguage()).toLower();
}

std::optional<QString> knownCode(const QString &candidate)
{
    QString code = candidate;
    for (const LanguageAlias &alias : LanguageAliases) {
        if (code == QStringView(alias.alias))
            code = QString::fromUtf16(alias.code);
    }
    if (outputLanguageCodes().contains(code))
        return code;
    return std::nullopt;
}

} // namespace

const QStringList &outputLanguageCodes()
{
    static const QStringList codes = [] {
        QStringList list;
        for (const char16_t *code : LanguageCodes)
            list.append(QString::fromUtf16(code));
        return list;
    }();
    return codes;
}

std::optional<QString> normalizedLanguageCode(const QString &identifier)
{
    const QString trimmed = identifier.trimmed();
    return knownCode(localeLanguage(trimmed));
}

std::optional<QString> resolvedOutputLanguage(const QString &outputLanguage,
                                              const QStringList &preferredLanguages,
                                              const QString &currentLocale)
{
    const QString value = outputLanguage.trimmed();
    if (value.isEmpty())
        return std::nullopt;
    if (value.toLower() != AutoValue)
        return value;
    for (const QString &identifier : preferredLanguages) {
        if (auto code = normalizedLanguageCode(identifier))
            return code;
    }
    if (auto code = normalizedLanguageCode(currentLocale))
        return code;
    return FallbackLanguage;
}

} // namespace Nomly
