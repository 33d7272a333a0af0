#include "cli/settingvalue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUrl>

#include "naming/namingpatternseparator.h"
#include "settings/extensionselection.h"
#include "settings/keyboardshortcut.h"
#include "settings/keyboardshortcutjson.h"
#include "settings/serveraddress.h"

namespace Nomly {

namespace {

// The word that clears an optional setting.
const QString ClearWord = QStringLiteral("none");

Failure notValid(const QString &text, const QString &key, const QString &why = {})
{
    return Failure { QStringLiteral("'%1' is not a valid value for %2%3")
                         .arg(text, key, why.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(why)) };
}

// Strings stay text, so that a prefix of "2026" is not a number; everything
// else is read as JSON.
std::optional<QJsonValue> jsonValue(const QString &text, bool isString)
{
    if (isString)
        return QJsonValue(text);
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray("[") + text.toUtf8() + ']');
    if (!document.isArray() || document.array().size() != 1)
        return std::nullopt;
    return document.array().first();
}

Result<QJsonValue> separator(const QString &key, const QString &text)
{
    auto chosen = namingPatternSeparatorFromName(text.trimmed().toLower());
    if (!chosen)
        chosen = namingPatternSeparatorFromRaw(text);
    if (!chosen) {
        QStringList names;
        for (const auto &[value, name] : NamingPatternSeparatorNames)
            names.append(QString::fromUtf16(name));
        return notValid(text, key, QStringLiteral("use one of: ") + names.join(QStringLiteral(", ")));
    }
    return QJsonValue(rawValue(*chosen));
}

Result<QJsonValue> prompt(const QString &key, const QString &text, qsizetype maxChars)
{
    if (text == ClearWord)
        return QJsonValue(QJsonValue::Null);
    const PromptValidation checked = validatePrompt(text, maxChars);
    if (checked.error)
        return Failure { QStringLiteral("%1 refused: %2").arg(key, *checked.error) };
    // Nothing left means the built-in prompt, as an emptied editor does.
    return checked.text ? QJsonValue(*checked.text) : QJsonValue(QJsonValue::Null);
}

// A JSON list of strings, or the extensions separated by commas or blanks.
std::optional<QStringList> extensionList(const QString &text)
{
    if (!text.trimmed().startsWith(u'['))
        return text.split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts);
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue &entry : document.array()) {
        if (!entry.isString())
            return std::nullopt;
        list.append(entry.toString());
    }
    return list;
}

Result<QJsonValue> extensions(const QString &key, const QString &text, const QStringList &supported)
{
    if (text == ClearWord)
        return QJsonValue(QJsonValue::Null);
    const auto given = extensionList(text);
    if (!given)
        return notValid(text, key, QStringLiteral("a JSON list of strings, or extensions separated by commas"));
    const QStringList known = normalizedExtensions(supported);
    QStringList unknown;
    for (const QString &extension : normalizedExtensions(*given)) {
        if (!known.contains(extension))
            unknown.append(extension);
    }
    if (!unknown.isEmpty())
        return notValid(text, key, QStringLiteral("Monitor takes no files ending in %1").arg(unknown.join(u", ")));
    // All of them is stored as none, so that extensions supported later are
    // watched too.
    const std::optional<QStringList> stored = storedExtensionSelection(*given, supported);
    return stored ? QJsonValue(QJsonArray::fromStringList(*stored)) : QJsonValue(QJsonValue::Null);
}

Result<QJsonValue> hotkey(const QString &key, const QString &text)
{
    if (text == ClearWord)
        return QJsonValue(QJsonValue::Null);
    const std::optional<KeyboardShortcut> shortcut = text.trimmed().startsWith(u'{')
        ? keyboardShortcutFromJson(QJsonDocument::fromJson(text.toUtf8()).object())
        : keyboardShortcutFromText(text);
    if (!shortcut)
        return notValid(text, key, QStringLiteral("write the keys as Ctrl+Shift+R"));
    if (!isUsableHotkey(*shortcut))
        return notValid(text, key, QStringLiteral("hold the key with Ctrl, Alt, Shift or Super"));
    return QJsonValue(toJson(*shortcut));
}

// An address that a request can go to: http or https with a host.
Result<QJsonValue> serverAddress(const QString &key, const QString &text)
{
    if (text == ClearWord)
        return QJsonValue(QJsonValue::Null);
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    if (!isServerAddress(url))
        return notValid(text, key, QStringLiteral("write an address such as http://127.0.0.1:1234/v1"));
    return QJsonValue(url.toString());
}

} // namespace

Result<QJsonValue> settingValue(const QString &key,
                                const QString &text,
                                const QJsonValue &current,
                                const SettingRules &rules)
{
    if (key == u"namingWordSeparator" || key == u"namingBlockSeparator")
        return separator(key, text);
    if (key == u"renamePromptOverride" || key == u"tagPromptOverride")
        return prompt(key, text, rules.promptMaxChars);
    if (key == u"monitorFileExtensions")
        return extensions(key, text, rules.supportedExtensions);
    if (key == u"hotkeyShortcut")
        return hotkey(key, text);
    if (key == u"localAIEndpoint" || key == u"openaiCompatibleBaseUrl")
        return serverAddress(key, text);

    if (text == ClearWord)
        return QJsonValue(QJsonValue::Null);
    // An optional key that is not set has no value to take the type from;
    // those hold text, except the lists, written as JSON.
    const bool isString
        = current.isString() || (current.isUndefined() && !text.startsWith(u'[') && !text.startsWith(u'{'));
    const std::optional<QJsonValue> value = jsonValue(text, isString);
    if (!value)
        return notValid(text, key);
    return *value;
}

} // namespace Nomly
