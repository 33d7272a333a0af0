#pragma once

#include <QString>
#include <QStringList>

#include "settings/promptkind.h"

namespace Nomly {

// The fixed texts of the editor for a custom prompt.
struct PromptEditorTexts
{
    QString title;
    QString explanation;
    QString placeholder;
    QString examplesSection;
    QString useDefaultAction;
    QString cancelAction;
    QStringList examples;

    bool operator==(const PromptEditorTexts &) const = default;
};

PromptEditorTexts promptEditorTexts(PromptKind kind);

// Three sample instructions a user can start from.
QStringList examplePrompts(PromptKind kind);

} // namespace Nomly
