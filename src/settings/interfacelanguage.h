#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// The language of the program's own texts; `Auto` follows the desktop.
enum class InterfaceLanguage
{
    Auto,
    En,
    De,
    Fr,
    Pt,
    Es,
    Nl,
    It,
    Ja,
    Ko,
    Zh,
    Hi,
};

inline constexpr RawValueTable<InterfaceLanguage, 12> InterfaceLanguageRawValues { {
    { InterfaceLanguage::Auto, u"auto" },
    { InterfaceLanguage::En, u"en" },
    { InterfaceLanguage::De, u"de" },
    { InterfaceLanguage::Fr, u"fr" },
    { InterfaceLanguage::Pt, u"pt" },
    { InterfaceLanguage::Es, u"es" },
    { InterfaceLanguage::Nl, u"nl" },
    { InterfaceLanguage::It, u"it" },
    { InterfaceLanguage::Ja, u"ja" },
    { InterfaceLanguage::Ko, u"ko" },
    { InterfaceLanguage::Zh, u"zh" },
    { InterfaceLanguage::Hi, u"hi" },
} };

inline QString rawValue(InterfaceLanguage value)
{
    return rawValueIn(InterfaceLanguageRawValues, value);
}

inline std::optional<InterfaceLanguage> interfaceLanguageFromRaw(QStringView raw)
{
    return fromRawValueIn(InterfaceLanguageRawValues, raw);
}

// The language's name in itself ("Deutsch"); "Auto" for `Auto`.
QString displayName(InterfaceLanguage language);

// The locale the string table is chosen by: the raw value, except "zh-Hans".
QString localeIdentifier(InterfaceLanguage language);

// A concrete language for `Auto`: the first of the desktop's preferred locale
// identifiers ("de-DE", "pt_BR", "zh-Hant-TW") whose language the program
// speaks, else English. Any other language is returned unchanged.
InterfaceLanguage resolvedInterfaceLanguage(InterfaceLanguage language, const QStringList &preferredLanguages);

} // namespace Nomly
