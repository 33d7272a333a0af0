#include "settings/prompteditortexts.h"

namespace Nomly {

namespace {

struct KindTexts
{
    PromptKind kind;
    const char16_t *title;
    const char16_t *explanation;
    const char16_t *examples[3];
};

constexpr KindTexts Catalogue[] = {
    {
        PromptKind::Rename,
        u"Rename rules",
        u"Explain how you want file names to look so results fit your style or workflow",
        {
            u"Keep names short, no more than 5 words, with the main subject first",
            u"Use a fun, casual tone for file names",
            u"If the file is a screenshot or document, use the clearest screen, feature, or document title",
        },
    },
    {
        PromptKind::Tagging,
        u"Tagging rules",
        u"Explain which tags help you sort, search, and organize files faster",
        {
            u"Only use these tags: document, invoice, contract, screenshot, product, interface",
            u"Don't use brand names unless they're clearly visible or explicitly named in the file",
            u"Use tags that reflect the file's content or purpose and skip vague mood words",
        },
    },
};

const KindTexts &textsFor(PromptKind kind)
{
    for (const KindTexts &texts : Catalogue) {
        if (texts.kind == kind)
            return texts;
    }
    return Catalogue[0];
}

} // namespace

QStringList examplePrompts(PromptKind kind)
{
    QStringList examples;
    for (const char16_t *example : textsFor(kind).examples)
        examples.append(QString::fromUtf16(example));
    return examples;
}

PromptEditorTexts promptEditorTexts(PromptKind kind)
{
    const KindTexts &texts = textsFor(kind);
    PromptEditorTexts editor;
    editor.title = QString::fromUtf16(texts.title);
    editor.explanation = QString::fromUtf16(texts.explanation);
    editor.placeholder = QStringLiteral("Leave this empty to use the default prompt");
    editor.examplesSection = QStringLiteral("Examples");
    editor.useDefaultAction = QStringLiteral("Use Default");
    editor.cancelAction = QStringLiteral("Cancel");
    editor.examples = examplePrompts(kind);
    return editor;
}

} // namespace Nomly
