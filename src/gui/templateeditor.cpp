#include "gui/templateeditor.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/patternblockeditor.h"
#include "gui/rawvaluecombo.h"
#include "naming/filerenamer.h"
#include "naming/previewsample.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/patternrendersettings.h"

namespace Nomly {

TemplateEditor::TemplateEditor(QWidget *parent)
    : QWidget(parent)
    , m_clock([] { return QDateTime::currentDateTime(); })
{
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("templateName"));
    m_description = new QLineEdit(this);
    m_pattern = new PatternBlockEditor(this);
    m_caseStyle = new QComboBox(this);
    m_caseStyle->setObjectName(QStringLiteral("caseStyle"));
    fillRawValueCombo<NamingCaseStyle>(
        m_caseStyle, NamingCaseStyleRawValues, [](NamingCaseStyle style) { return displayLabel(style); });
    m_wordSeparator = new QComboBox(this);
    m_wordSeparator->setObjectName(QStringLiteral("wordSeparator"));
    fillRawValueCombo<NamingPatternSeparator>(m_wordSeparator, NamingPatternSeparatorRawValues, separatorLabel);
    m_dateFormat = new QLineEdit(this);
    m_dateFormat->setObjectName(QStringLiteral("dateFormat"));
    m_dateFormat->setPlaceholderText(QStringLiteral("yyyy-MM-dd"));
    m_preview = new QLabel(this);
    m_preview->setObjectName(QStringLiteral("preview"));
    m_preview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont previewFont = m_preview->font();
    previewFont.setFamily(QStringLiteral("monospace"));
    m_preview->setFont(previewFont);
    m_save = new QPushButton(QStringLiteral("Save Template"), this);
    m_save->setObjectName(QStringLiteral("saveTemplate"));
    m_save->setDefault(true);

    connect(m_name, &QLineEdit::textChanged, this, [this](const QString &name) {
        m_save->setEnabled(!name.trimmed().isEmpty());
        updatePreview();
    });
    connect(m_pattern, &PatternBlockEditor::patternChanged, this, &TemplateEditor::markNamingTouched);
    connect(m_caseStyle, &QComboBox::activated, this, [this] {
        const auto style = namingCaseStyleFromRaw(m_caseStyle->currentData().toString());
        m_pattern->edit([&](NamingPatternEditor &model) { return style && model.setNamingCaseStyle(*style); });
        markNamingTouched();
    });
    connect(m_wordSeparator, &QComboBox::activated, this, [this] {
        const auto separator = namingPatternSeparatorFromRaw(m_wordSeparator->currentData().toString());
        m_pattern->edit(
            [&](NamingPatternEditor &model) { return separator && model.setNamingWordSeparator(*separator); });
        markNamingTouched();
    });
    connect(m_dateFormat, &QLineEdit::textEdited, this, &TemplateEditor::updatePreview);
    connect(m_save, &QPushButton::clicked, this, &TemplateEditor::saveRequested);

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Name"), m_name);
    form->addRow(QStringLiteral("Description"), m_description);
    form->addRow(QStringLiteral("Pattern"), m_pattern);
    form->addRow(QStringLiteral("Title style"), m_caseStyle);
    form->addRow(QStringLiteral("Word separator"), m_wordSeparator);
    form->addRow(QStringLiteral("Date format"), m_dateFormat);
    form->addRow(QStringLiteral("Preview"), m_preview);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_save);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);
    layout->addLayout(buttons);
}

void TemplateEditor::setClock(std::function<QDateTime()> clock)
{
    m_clock = std::move(clock);
    updatePreview();
}

void TemplateEditor::setPreset(const Preset &preset, const Settings &global)
{
    m_preset = preset;
    m_global = global;
    m_namingTouched = false;
    const EffectiveAnalysisSettings effective = resolveEffectiveAnalysisSettings(global, std::nullopt, preset.settings);
    m_name->setText(preset.name);
    m_description->setText(preset.description);
    m_pattern->load(
        effective.namingPattern,
        preset.settings.namingPatternBlocks.value_or(global.namingPatternBlocks.value_or(QList<NamingPatternBlock>())),
        effective.namingCaseStyle,
        effective.namingWordSeparator,
        effective.namingBlockSeparator);
    selectRawValue(m_caseStyle, rawValue(effective.namingCaseStyle));
    selectRawValue(m_wordSeparator, rawValue(effective.namingWordSeparator));
    m_dateFormat->setText(effective.dateFormat);
    updatePreview();
}

Preset TemplateEditor::editedPreset() const
{
    Preset edited = m_preset;
    edited.name = m_name->text().trimmed();
    edited.description = m_description->text().trimmed();
    AnalysisSettings &settings = edited.settings;
    // Naming is written only when edited: an inherited pattern stays
    // inherited, so a later change of the global settings still reaches it,
    // and a stored one stays exactly as stored.
    if (m_namingTouched) {
        const NamingPatternEditor &model = m_pattern->model();
        settings.namingPattern = model.text();
        settings.namingPatternBlocks = model.blocks().isEmpty() ? std::nullopt : std::make_optional(model.blocks());
        settings.namingCaseStyle = model.namingCaseStyle();
        settings.namingWordSeparator = model.namingWordSeparator();
        settings.namingBlockSeparator = model.namingBlockSeparator();
    }
    const QString dateFormat = m_dateFormat->text().trimmed();
    if (settings.dateFormat || (!dateFormat.isEmpty() && dateFormat != m_global.dateFormat))
        settings.dateFormat = dateFormat.isEmpty() ? m_global.dateFormat : dateFormat;
    return edited;
}

bool TemplateEditor::hasChanges() const
{
    return !m_preset.id.isNull() && editedPreset() != m_preset;
}

QString TemplateEditor::previewName() const
{
    const Preset edited = editedPreset();
    const EffectiveAnalysisSettings effective
        = resolveEffectiveAnalysisSettings(m_global, std::nullopt, edited.settings);
    const PreviewSample sample = previewSample(previewProfileForTemplate(edited.name));
    PatternRenderInput input = previewRenderInput(patternRenderInput(effective), sample, m_clock());
    // The editor's pattern is shown as it stands, inherited or not.
    const NamingPatternEditor &model = m_pattern->model();
    input.pattern = model.text();
    input.caseStyle = model.namingCaseStyle();
    input.wordSeparator = model.namingWordSeparator();
    const QString stem = FileRenamer::applyPattern(input);
    return sample.metadata.fileExtension.isEmpty() ? stem : stem + u'.' + sample.metadata.fileExtension;
}

void TemplateEditor::markNamingTouched()
{
    m_namingTouched = true;
    updatePreview();
}

void TemplateEditor::updatePreview()
{
    m_preview->setText(previewName());
}

} // namespace Nomly
