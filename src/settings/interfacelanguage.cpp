#include "settings/interfacelanguage.h"

#include "settings/outputlanguage.h"

namespace Nomly {

namespace {

constexpr RawValueTable<InterfaceLanguage, 12> DisplayNames { {
    { InterfaceLanguage::Auto, u"Auto" },
    { InterfaceLanguage::En, u"English" },
    { InterfaceLanguage::De, u"Deutsch" },
    { InterfaceLanguage::Fr, u"Français" },
    { InterfaceLanguage::Pt, u"Português" },
    { InterfaceLanguage::Es, u"Español" },
    { InterfaceLanguage::Nl, u"Nederlands" },
    { InterfaceLanguage::It, u"Italiano" },
    { InterfaceLanguage::Ja, u"日本語" },
    { InterfaceLanguage::Ko, u"한국어" },
    { InterfaceLanguage::Zh, u"中文" },
    { InterfaceLanguage::Hi, u"हिन्दी" },
} };

} // namespace

QString displayName(InterfaceLanguage language)
{
    return rawValueIn(DisplayNames, language);
}

QString localeIdentifier(InterfaceLanguage language)
{
    if (language == InterfaceLanguage::Zh)
        return QStringLiteral("zh-Hans");
    return rawValue(language);
}

InterfaceLanguage resolvedInterfaceLanguage(InterfaceLanguage language, const QStringList &preferredLanguages)
{
    if (language != InterfaceLanguage::Auto)
        return language;
    for (const QString &identifier : preferredLanguages) {
        const std::optional<QString> code = normalizedLanguageCode(identifier);
        if (!code)
            continue;
        if (const auto candidate = interfaceLanguageFromRaw(*code))
            return *candidate;
    }
    return InterfaceLanguage::En;
}

} // namespace Nomly
