#include "gui/generaltab.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QScrollArea>
#include <QVBoxLayout>

#include <qcoro/qcorotask.h>

#include "app/settingsviewmodel.h"
#include "gui/patternblockeditor.h"
#include "gui/presentation.h"
#include "gui/rawvaluecombo.h"
#include "naming/filerenamer.h"
#include "naming/previewsample.h"
#include "platform/autostartentry.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/outputlanguage.h"
#include "settings/patternrendersettings.h"

namespace Nomly {

namespace {

template<typename Enum, std::size_t Size>
QComboBox *comboOf(QWidget *parent,
                   const QString &name,
                   const RawValueTable<Enum, Size> &table,
                   const std::function<QString(Enum)> &label)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(name);
    fillRawValueCombo(combo, table, label);
    return combo;
}

// What a section does, under its title, in the palette's quieter colour.
QLabel *note(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QGroupBox *section(const QString &title, const QString &explanation, QFormLayout *form, QWidget *parent)
{
    auto *box = new QGroupBox(title, parent);
    auto *layout = new QVBoxLayout(box);
    if (!explanation.isEmpty())
        layout->addWidget(note(explanation, box));
    layout->addLayout(form);
    return box;
}

} // namespace

GeneralTab::GeneralTab(SettingsViewModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_clock([] { return QDateTime::currentDateTime(); })
{
    auto *content = new QWidget;

    m_pattern = new PatternBlockEditor(content);
    m_caseStyle = comboOf<NamingCaseStyle>(
        content, QStringLiteral("caseStyle"), NamingCaseStyleRawValues, [](auto style) { return displayLabel(style); });
    m_wordSeparator = comboOf<NamingPatternSeparator>(
        content, QStringLiteral("wordSeparator"), NamingPatternSeparatorRawValues, separatorLabel);
    m_blockSeparator = comboOf<NamingPatternSeparator>(
        content, QStringLiteral("blockSeparator"), NamingPatternSeparatorRawValues, separatorLabel);
    m_dateFormat = new QLineEdit(content);
    m_dateFormat->setObjectName(QStringLiteral("dateFormat"));
    m_dateFormat->setPlaceholderText(QStringLiteral("yyyy-MM-dd"));
    m_dateFormat->setToolTip(tr("ICU date pattern: yyyy year, MM month, dd day, HH hour, mm minute."));
    m_preview = new QLabel(content);
    m_preview->setObjectName(QStringLiteral("preview"));
    m_preview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont previewFont = m_preview->font();
    previewFont.setFamily(QStringLiteral("monospace"));
    m_preview->setFont(previewFont);
    auto *naming = new QFormLayout;
    naming->addRow(tr("Pattern"), m_pattern);
    naming->addRow(tr("Title style"), m_caseStyle);
    naming->addRow(tr("Between words"), m_wordSeparator);
    naming->addRow(tr("Between blocks"), m_blockSeparator);
    naming->addRow(tr("Date format"), m_dateFormat);
    naming->addRow(tr("Preview"), m_preview);

    m_writeTags = new QCheckBox(tr("Write the suggested tags to the file"), content);
    m_writeTags->setObjectName(QStringLiteral("writeTags"));
    m_writeComment = new QCheckBox(tr("Write the description to the file as a comment"), content);
    m_writeComment->setObjectName(QStringLiteral("writeComment"));
    auto *metadata = new QFormLayout;
    metadata->addRow(m_writeTags);
    metadata->addRow(m_writeComment);

    m_outputLanguage = new QComboBox(content);
    m_outputLanguage->setObjectName(QStringLiteral("outputLanguage"));
    m_outputLanguage->addItem(tr("Automatic (the desktop's language)"), QStringLiteral("auto"));
    for (const QString &code : outputLanguageCodes()) {
        const QString name = QLocale(code).nativeLanguageName();
        m_outputLanguage->addItem(
            name.isEmpty() ? code : QStringLiteral("%1 (%2)").arg(name.left(1).toUpper() + name.mid(1), code), code);
    }
    auto *answers = new QFormLayout;
    answers->addRow(tr("Names and tags in"), m_outputLanguage);

    m_appearance = comboOf<AppearanceMode>(
        content, QStringLiteral("appearance"), AppearanceModeRawValues, [](AppearanceMode mode) {
            switch (mode) {
            case AppearanceMode::Auto:
                return tr("Follow the desktop");
            case AppearanceMode::Light:
                return tr("Light");
            case AppearanceMode::Dark:
                return tr("Dark");
            }
            Q_UNREACHABLE();
        });
    m_interfaceLanguage = comboOf<InterfaceLanguage>(
        content, QStringLiteral("interfaceLanguage"), InterfaceLanguageRawValues, [](InterfaceLanguage language) {
            return language == InterfaceLanguage::Auto ? tr("Follow the desktop") : displayName(language);
        });
    m_startAtLogin = new QCheckBox(tr("Start Nomly in the tray when you log in"), content);
    m_startAtLogin->setObjectName(QStringLiteral("startAtLogin"));
    m_showInTaskBar = new QCheckBox(tr("Keep the window in the task bar while it is hidden"), content);
    m_showInTaskBar->setObjectName(QStringLiteral("showInTaskBar"));
    m_sounds = new QCheckBox(tr("Play sounds"), content);
    m_sounds->setObjectName(QStringLiteral("sounds"));
    auto *desktop = new QFormLayout;
    desktop->addRow(tr("Appearance"), m_appearance);
    desktop->addRow(tr("Interface language"), m_interfaceLanguage);
    desktop->addRow(m_startAtLogin);
    desktop->addRow(m_showInTaskBar);
    desktop->addRow(m_sounds);

    auto *column = new QVBoxLayout(content);
    column->addWidget(section(tr("File names"),
                              tr("How quick rename, Monitor in folders without a template, and nomly rename name "
                                 "files. A template chosen for a folder or for AI Rename goes before these."),
                              naming,
                              content));
    column->addWidget(section(tr("Besides the name"),
                              tr("Tags and comments go to the file's extended attributes (user.xdg.tags, "
                                 "user.xdg.comment), which file managers and desktop search read. Undo puts the "
                                 "earlier ones back."),
                              metadata,
                              content));
    column->addWidget(
        section(tr("AI answers"), tr("The language the AI writes names, descriptions and tags in."), answers, content));
    column->addWidget(section(tr("Desktop"), QString(), desktop, content));
    column->addStretch(1);

    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(content);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);

    connect(m_pattern, &PatternBlockEditor::patternChanged, this, &GeneralTab::saveNaming);
    const auto namingCombo
        = [this](QComboBox *combo) { connect(combo, &QComboBox::activated, this, &GeneralTab::saveNaming); };
    namingCombo(m_caseStyle);
    namingCombo(m_wordSeparator);
    namingCombo(m_blockSeparator);
    connect(m_dateFormat, &QLineEdit::textEdited, this, &GeneralTab::updatePreview);
    connect(m_dateFormat, &QLineEdit::editingFinished, this, [this] {
        const QString format = m_dateFormat->text().trimmed();
        save([&](Settings &settings) { settings.dateFormat = format.isEmpty() ? Settings().dateFormat : format; });
    });
    connect(m_writeTags, &QCheckBox::toggled, this, [this](bool on) {
        save([on](Settings &settings) { settings.addFinderTags = on; });
    });
    connect(m_writeComment, &QCheckBox::toggled, this, [this](bool on) {
        save([on](Settings &settings) { settings.addSpotlightMetadata = on; });
    });
    connect(m_outputLanguage, &QComboBox::activated, this, [this] {
        const QString code = m_outputLanguage->currentData().toString();
        save([&](Settings &settings) { settings.outputLanguage = code; });
    });
    connect(m_appearance, &QComboBox::activated, this, [this] {
        const AppearanceMode mode
            = appearanceModeFromRaw(m_appearance->currentData().toString()).value_or(AppearanceMode::Auto);
        switchAppearance(mode);
        save([mode](Settings &settings) { settings.appearance = mode; });
    });
    connect(m_interfaceLanguage, &QComboBox::activated, this, [this] {
        const InterfaceLanguage language
            = interfaceLanguageFromRaw(m_interfaceLanguage->currentData().toString()).value_or(InterfaceLanguage::Auto);
        switchInterfaceLanguage(language, QCoreApplication::instance());
        save([language](Settings &settings) { settings.interfaceLanguage = language; });
    });
    connect(m_startAtLogin, &QCheckBox::toggled, this, &GeneralTab::setStartAtLogin);
    connect(m_showInTaskBar, &QCheckBox::toggled, this, [this](bool on) {
        save([on](Settings &settings) { settings.showDockIcon = on; });
    });
    connect(m_sounds, &QCheckBox::toggled, this, [this](bool on) {
        save([on](Settings &settings) { settings.appSoundsEnabled = on; });
    });
    // Another face (the command line, AI Setup) may change them meanwhile.
    connect(&m_model, &SettingsViewModel::settingsChanged, this, [this] { load(m_model.settings()); });
    load(m_model.settings());
}

void GeneralTab::setClock(std::function<QDateTime()> clock)
{
    m_clock = std::move(clock);
    updatePreview();
}

void GeneralTab::load(const Settings &settings)
{
    if (m_loading)
        return;
    m_loading = true;
    // Loading again while the pattern is being edited would lose its
    // selection; only a pattern that differs is loaded.
    const NamingPatternEditor &editor = m_pattern->model();
    if (editor.text() != settings.namingPattern || editor.namingCaseStyle() != settings.namingCaseStyle
        || editor.namingWordSeparator() != settings.namingWordSeparator
        || editor.namingBlockSeparator() != settings.namingBlockSeparator)
        m_pattern->load(settings.namingPattern,
                        settings.namingPatternBlocks.value_or(QList<NamingPatternBlock>()),
                        settings.namingCaseStyle,
                        settings.namingWordSeparator,
                        settings.namingBlockSeparator);
    selectRawValue(m_caseStyle, rawValue(settings.namingCaseStyle));
    selectRawValue(m_wordSeparator, rawValue(settings.namingWordSeparator));
    selectRawValue(m_blockSeparator, rawValue(settings.namingBlockSeparator));
    if (!m_dateFormat->hasFocus())
        m_dateFormat->setText(settings.dateFormat);
    m_writeTags->setChecked(settings.addFinderTags);
    m_writeComment->setChecked(settings.addSpotlightMetadata);
    selectRawValue(m_outputLanguage, settings.outputLanguage);
    selectRawValue(m_appearance, rawValue(settings.appearance));
    selectRawValue(m_interfaceLanguage, rawValue(settings.interfaceLanguage));
    // The entry on disk is the truth: the desktop's own settings may have
    // removed it.
    m_startAtLogin->setChecked(AutostartEntry::isEnabled());
    m_showInTaskBar->setChecked(settings.showDockIcon);
    m_sounds->setChecked(settings.appSoundsEnabled);
    updatePreview();
    m_loading = false;
}

void GeneralTab::save(const std::function<void(Settings &)> &change)
{
    if (m_loading)
        return;
    Settings settings = m_model.settings();
    change(settings);
    if (settings == m_model.settings())
        return;
    m_loading = true;
    m_model.setSettings(settings);
    m_loading = false;
    updatePreview();
    QCoro::connect(m_model.saveSettings(), this, [this](bool saved) {
        if (!saved)
            emit saveFailed(tr("The settings could not be saved; the change holds until Nomly quits."));
    });
}

void GeneralTab::saveNaming()
{
    // The combos change the pattern's model, which keeps the chips' own
    // separators in step with the global ones.
    const auto caseStyle = namingCaseStyleFromRaw(m_caseStyle->currentData().toString());
    const auto wordSeparator = namingPatternSeparatorFromRaw(m_wordSeparator->currentData().toString());
    const auto blockSeparator = namingPatternSeparatorFromRaw(m_blockSeparator->currentData().toString());
    m_pattern->edit([&](NamingPatternEditor &editor) {
        bool changed = caseStyle && editor.setNamingCaseStyle(*caseStyle);
        changed = (wordSeparator && editor.setNamingWordSeparator(*wordSeparator)) || changed;
        if (blockSeparator && editor.namingBlockSeparator() != *blockSeparator) {
            editor.setNamingBlockSeparator(*blockSeparator);
            changed = true;
        }
        return changed;
    });
    const NamingPatternEditor &editor = m_pattern->model();
    save([&](Settings &settings) {
        settings.namingPattern = editor.text();
        settings.namingPatternBlocks = editor.blocks().isEmpty() ? std::nullopt : std::make_optional(editor.blocks());
        settings.namingCaseStyle = editor.namingCaseStyle();
        settings.namingWordSeparator = editor.namingWordSeparator();
        settings.namingBlockSeparator = editor.namingBlockSeparator();
    });
    updatePreview();
}

QString GeneralTab::previewName() const
{
    Settings settings = m_model.settings();
    const QString format = m_dateFormat->text().trimmed();
    if (!format.isEmpty())
        settings.dateFormat = format;
    const EffectiveAnalysisSettings effective = resolveEffectiveAnalysisSettings(settings, std::nullopt, std::nullopt);
    const PreviewSample sample = previewSample(previewProfileForTemplate(QString()));
    const PatternRenderInput input = previewRenderInput(patternRenderInput(effective), sample, m_clock());
    const QString stem = FileRenamer::applyPattern(input);
    return sample.metadata.fileExtension.isEmpty() ? stem : stem + u'.' + sample.metadata.fileExtension;
}

void GeneralTab::updatePreview()
{
    m_preview->setText(previewName());
}

void GeneralTab::setStartAtLogin(bool enabled)
{
    if (m_loading)
        return;
    if (const Result<> written = AutostartEntry::setEnabled(enabled, QCoreApplication::applicationFilePath());
        !written) {
        const QSignalBlocker quiet(m_startAtLogin);
        m_startAtLogin->setChecked(AutostartEntry::isEnabled());
        emit saveFailed(written.error());
        return;
    }
    save([enabled](Settings &settings) { settings.autoStart = enabled; });
}

} // namespace Nomly
