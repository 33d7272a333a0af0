#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include "platform/result.h"
#include "settings/promptvalidation.h"

namespace Nomly {

// What the settings window holds a value to, beyond its type.
struct SettingRules
{
    qsizetype promptMaxChars = DefaultPromptMaxChars;
    // The extensions Monitor can watch.
    QStringList supportedExtensions;
};

// The JSON value `nomly config set KEY TEXT` stores for `text`: held to the
// rules the settings window applies (prompts checked and normalised,
// extension lists normalised and narrowed to the supported ones, a hotkey the
// desktop can take), and read in the forms the other commands take
// (`underscore` for a separator, `Ctrl+Shift+R` for the hotkey). `current` is
// what the key holds now, undefined when it is not set. A null value clears
// the key. The failure is the text the user reads.
Result<QJsonValue> settingValue(const QString &key,
                                const QString &text,
                                const QJsonValue &current,
                                const SettingRules &rules);

} // namespace Nomly
